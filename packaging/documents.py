#!/usr/bin/env python3
"""Prints the installer's components for documents: one for each folder that holds any.

    documents.py FOLDER

FOLDER is laid out as the installation; what belongs to "bin" or "manager" stands in tarnwell.wxs.
"""
import pathlib
import re
import sys
import uuid
from xml.sax.saxutils import quoteattr

COMPONENTS = uuid.UUID("64680DEA-6E0C-40A3-9BCB-B518FB6413A5")


def identifier(kind: str, name: str) -> str:
    return f"{kind}_" + re.sub(r"[^A-Za-z0-9_.]", "_", name)


def component(root: pathlib.Path, folder: pathlib.Path, files: list) -> list:
    place = folder.relative_to(root).as_posix()
    guid = str(uuid.uuid5(COMPONENTS, place)).upper()
    lines = [f'<Component Id={quoteattr(identifier("documents", place))} Guid="{guid}" Win64="yes">']
    for number, file in enumerate(files):
        name = file.relative_to(root).as_posix()
        lines.append(f'<File Id={quoteattr(identifier("document", name))} '
                     f'Name={quoteattr(file.name)} Source={quoteattr("$(var.Files)/" + name)} '
                     f'KeyPath="{"no" if number else "yes"}"/>')
    return lines + ["</Component>"]


def directory(root: pathlib.Path, folder: pathlib.Path, names: list) -> list:
    """The folder's component and those of its subfolders, inside the element of the folder."""
    files = sorted(entry for entry in folder.iterdir() if entry.is_file())
    lines = component(root, folder, files) if files else []
    if files:
        names.append(identifier("documents", folder.relative_to(root).as_posix()))
    for inner in sorted(entry for entry in folder.iterdir() if entry.is_dir()):
        if folder == root and inner.name in ("bin", "manager"):
            continue
        place = inner.relative_to(root).as_posix()
        lines.append(f'<Directory Id={quoteattr(identifier("folder", place))} '
                     f'Name={quoteattr(inner.name)}>')
        lines += directory(root, inner, names) + ["</Directory>"]
    return lines


def main() -> int:
    if len(sys.argv) != 2:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    root = pathlib.Path(sys.argv[1])
    names: list = []
    print('<Wix xmlns="http://schemas.microsoft.com/wix/2006/wi">', "<Fragment>",
          '<DirectoryRef Id="INSTALLDIR">', sep="\n")
    print("\n".join(directory(root, root, names)))
    print("</DirectoryRef>", '<ComponentGroup Id="Documents">', sep="\n")
    for name in names:
        print(f"<ComponentRef Id={quoteattr(name)}/>")
    print("</ComponentGroup>", "</Fragment>", "</Wix>", sep="\n")
    return 0


if __name__ == "__main__":
    sys.exit(main())
