#pragma once

// The identifiers of the interfaces that the probe asks for (Windows SDK headers beside them). It
// has its own, because it shares nothing with the extension but what Windows shows of it.

#include "common/system/os/windows.h"

namespace tarnwell::shellprobe {

constexpr IID ShellId(unsigned long first) noexcept {
    return {first, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
}

inline constexpr IID kUnknownId = ShellId(0);             // unknwn.h
inline constexpr IID kPersistFileId = ShellId(0x10B);     // objidl.h
inline constexpr IID kDataObjectId = ShellId(0x10E);      // objidl.h
inline constexpr IID kContextMenuId = ShellId(0x214E4);   // shobjidl.h
inline constexpr IID kShellFolderId = ShellId(0x214E6);   // shobjidl.h
inline constexpr IID kShellExtInitId = ShellId(0x214E8);  // shobjidl.h
inline constexpr IID kExtractIconId = ShellId(0x214FA);   // shlobj.h
inline constexpr IID kQueryInfoId = ShellId(0x21500);     // shlobj.h

}  // namespace tarnwell::shellprobe
