#pragma once

// What the tests of registration and of icons share: a key in place of HKEY_CLASSES_ROOT, the means
// to tell whose picture an icon shows, and a chain engine of which a test says what it answers.

#include "common/crypto/openssl_owners.h"
#include "common/system/os/install_paths.h"
#include "common/system/os/owners_win32.h"
#include "common/system/os/settings_win32.h"
#include "extension_fixture.h"
#include "tarnwell/win32/shellicon.h"

namespace tarnwell::test {

/// A key of the test's own, removed with all below it.
class CScratchClasses {
public:
    ~CScratchClasses() { Remove(); }
    HKEY Root() const { return m_root.Get(); }
    void Remove() const { RegDeleteTreeW(HKEY_CURRENT_USER, Wide(m_name)); }

private:
    const CUTF16String m_name =
        Utf16FromUtf8(("Software\\TarnwellTest" + std::to_string(GetCurrentProcessId())).c_str());
    const CSettingsKey m_root = CSettingsKey::Create(HKEY_CURRENT_USER, m_name);
};

/// Pixels row by row, alpha in the highest byte.
using Picture = std::vector<std::uint32_t>;
/// A byte for each pixel, 1 where it is transparent.
using Mask = std::vector<std::uint8_t>;

/// PixelsOf gives what a bitmap of 32 bits a pixel and of that size holds.
inline Picture PixelsOf(HBITMAP bitmap, SIZE size) {
    Picture pixels(static_cast<std::size_t>(size.cx * size.cy));
    const auto bytes = static_cast<LONG>(4 * pixels.size());
    EXPECT_EQ(GetBitmapBits(bitmap, bytes, pixels.data()), bytes);
    return pixels;
}

/// The bytes of a row in the bits of a mask.
inline std::size_t MaskRowBytes(std::size_t width) {
    return (width + 15) / 16 * 2;
}

/// What an icon shows, and what its mask hides; both empty for no icon.
struct IconImage {
    Picture colours;
    Mask mask;
};

inline IconImage ImageOf(HICON icon) {
    ICONINFO info = {};
    if (!GetIconInfo(icon, &info))
        return {};
    const CUniqueBitmap colour(info.hbmColor), mask(info.hbmMask);
    BITMAP shape = {};
    GetObjectW(colour.Get(), sizeof shape, &shape);
    IconImage image{PixelsOf(colour.Get(), {shape.bmWidth, shape.bmHeight}), {}};
    const auto width = static_cast<std::size_t>(shape.bmWidth);
    Mask bits(MaskRowBytes(width) * static_cast<std::size_t>(shape.bmHeight));
    GetBitmapBits(mask.Get(), static_cast<LONG>(bits.size()), bits.data());
    for (std::size_t i = 0; i < image.colours.size(); ++i) {
        const std::uint8_t eight = bits[i / width * MaskRowBytes(width) + i % width / 8];
        image.mask.push_back(eight >> (7 - i % width % 8) & 1);
    }
    return image;
}

inline Picture PictureOf(HICON icon) {
    return ImageOf(icon).colours;
}

/// IconOf loads an icon resource of `module`; where it is null, of this program, which has the
/// icons 205 to 212 and 218, in this order.
inline CUniqueIcon IconOf(HINSTANCE module, WORD resource, int size) {
    return CUniqueIcon(
        static_cast<HICON>(LoadImageW(module ? module : GetModuleHandleW(nullptr),
                                      MAKEINTRESOURCEW(resource), IMAGE_ICON, size, size, 0)));
}

/// Gives its answers about chains in turn, and the last of them from then on.
class CScriptedEngine final : public CChainEngine {
public:
    using Answers = std::vector<std::optional<std::uint32_t>>;
    explicit CScriptedEngine(Answers answers = {0}) : m_answers(std::move(answers)) {}

    std::optional<std::uint32_t> ErrorStatus(std::span<const unsigned char> der) override {
        const unsigned char* next = der.data();
        EXPECT_TRUE(CUniqueX509(d2i_X509(nullptr, &next, static_cast<long>(der.size()))));
        EXPECT_EQ(next, der.data() + der.size());
        return m_answers.at(std::min(asked++, m_answers.size() - 1));
    }
    std::size_t asked = 0;

private:
    Answers m_answers;
};

}  // namespace tarnwell::test
