#!/usr/bin/env python3
"""Prints the bill of materials of a package (SPDX 2.3, JSON).

    bill_of_materials.py FOLDER VERSION SECONDS

FOLDER is laid out as the installation: every program in it is named with its hashes. The libraries'
versions and hashes are those that scripts/build-deps.sh pins; of the tool chain, the packages and
the files that leave code in the programs or write them are named as they are on this machine.
"""
import datetime
import functools
import hashlib
import json
import pathlib
import re
import subprocess
import sys
import uuid

ROOT = pathlib.Path(__file__).resolve().parents[1]
DOCUMENTS = uuid.UUID("E567DEDA-84C3-4A03-9B51-6A4E08A08E57")
COMPILER = "x86_64-w64-mingw32-g++-posix"
NO_VALUE = "NOASSERTION"

# What the linker takes from the tool chain into every program, and the programs that make them.
LINKED = ("libgcc.a", "libgcc_eh.a", "libstdc++.a", "libwinpthread.a", "libmingw32.a",
          "libmingwex.a", "libmsvcrt.a", "crt2u.o", "dllcrt2.o")
TOOLS = ("cc1plus", "as", "ld")
LICENCES = {"binutils": "GPL-3.0-or-later", "g++": "GPL-3.0-or-later",
            "gcc": "GPL-3.0-or-later WITH GCC-exception-3.1", "mingw": "ZPL-2.1"}


def output(*command) -> str:
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout.strip()


def pins() -> dict:
    """The recipe's plain assignments, such as openssl_version=..."""
    recipe = (ROOT / "scripts/build-deps.sh").read_text()
    return dict(re.findall(r"^((?:openssl|miniz)_\w+)=([^\s(]+)$", recipe, re.MULTILINE))


def identifier(*words) -> str:
    return "SPDXRef-" + re.sub(r"[^A-Za-z0-9.-]", "-", "-".join(words))


def package(name: str, version: str, licence: str, **more) -> dict:
    return {"SPDXID": identifier("package", name), "name": name, "versionInfo": version,
            "supplier": NO_VALUE, "downloadLocation": NO_VALUE, "filesAnalyzed": False,
            "licenseConcluded": licence, "licenseDeclared": licence, "copyrightText": NO_VALUE,
            **more}


def source(name: str, version: str, licence: str, tarball: str, sha256: str) -> dict:
    return package(name, version, licence, packageFileName=tarball,
                   checksums=[{"algorithm": "SHA256", "checksumValue": sha256}])


def file(path: pathlib.Path, name: str) -> dict:
    data = path.read_bytes()
    return {"SPDXID": identifier("file", name), "fileName": name, "licenseConcluded": NO_VALUE,
            "copyrightText": NO_VALUE,
            "checksums": [{"algorithm": kind.upper(), "checksumValue": hashlib.new(kind, data).hexdigest()}
                          for kind in ("sha1", "sha256")]}


@functools.cache
def debian(path: pathlib.Path) -> dict:
    """The system's package that a file of the tool chain came with."""
    owner = output("dpkg-query", "-S", str(path)).split(":")[0]
    family = next(key for key in LICENCES if key in owner)
    return package(owner, output("dpkg-query", "-W", "-f", "${Version}", owner), LICENCES[family])


def tool_file(option: str, name: str) -> pathlib.Path:
    found = pathlib.Path(output(COMPILER, f"-print-{option}-name={name}"))
    if not found.is_absolute():
        raise FileNotFoundError(f"{COMPILER} does not know {name}")
    return found.resolve()


def programs(folder: pathlib.Path) -> list:
    return sorted(path for path in folder.rglob("*") if path.suffix in (".dll", ".exe", ".bin"))


def bill(folder: pathlib.Path, version: str, seconds: int) -> dict:
    pinned = pins()
    product = package("Tarnwell", version, "MIT", primaryPackagePurpose="INSTALL")
    libraries = [
        source("OpenSSL", pinned["openssl_version"], "Apache-2.0", pinned["openssl_tarball"],
               pinned["openssl_sha256"]),
        source("miniz", pinned["miniz_version"], "MIT", pinned["miniz_tarball"],
               pinned["miniz_sha256"]),
    ]
    libraries[1]["comment"] = f"{pinned['miniz_member']} of the named file"
    files, tool_chain, relations = [], {}, []

    def relate(one: dict, kind: str, other: dict):
        relations.append({"spdxElementId": one["SPDXID"], "relationshipType": kind,
                          "relatedSpdxElement": other["SPDXID"]})

    for path in programs(folder):
        files.append(file(path, "./" + path.relative_to(folder).as_posix()))
        relate(product, "CONTAINS", files[-1])
    for library in libraries:
        relate(product, "STATIC_LINK", library)
    for option, names, kind in (("file", LINKED, "STATIC_LINK"), ("prog", TOOLS, "BUILD_TOOL_OF")):
        for name in names:
            path = tool_file(option, name)
            owner = debian(path)
            tool_chain[owner["name"]] = owner
            files.append(file(path, "." + str(path)))
            relate(owner, "CONTAINS", files[-1])
            if kind == "STATIC_LINK":
                relate(product, kind, files[-1])
            else:
                relate(files[-1], kind, product)

    content = {
        "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"Tarnwell-{version}-x64",
        "creationInfo": {
            "created": datetime.datetime.fromtimestamp(seconds, datetime.timezone.utc)
            .strftime("%Y-%m-%dT%H:%M:%SZ"),
            "creators": ["Organization: The Tarnwell developers", "Tool: bill_of_materials.py"]},
        "documentDescribes": [product["SPDXID"]],
        "packages": [product, *libraries, *(tool_chain[name] for name in sorted(tool_chain))],
        "files": files, "relationships": relations}
    digest = hashlib.sha256(json.dumps(content).encode()).hexdigest()
    return content | {"documentNamespace": uuid.uuid5(DOCUMENTS, digest).urn}


def main() -> int:
    if len(sys.argv) != 4:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    print(json.dumps(bill(pathlib.Path(sys.argv[1]), sys.argv[2], int(sys.argv[3])), indent=1))
    return 0


if __name__ == "__main__":
    sys.exit(main())
