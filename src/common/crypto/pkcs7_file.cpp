#include "common/crypto/pkcs7_file.h"

#include <openssl/err.h>

#include <algorithm>
#include <array>
#include <climits>

#include "common/crypto/element_count.h"
#include "common/crypto/short_time.h"
#include "common/system/os/file_system.h"

namespace tarnwell {

namespace {

/// OpenSSL takes lengths as `long`, which has 32 bits on Windows.
constexpr std::uint64_t kMaxFileSize = 0x7FFFFFFF;
static_assert(kMaxFileSize <= LONG_MAX);

/// A file below this size is read and copied in no time.
constexpr std::size_t kLargeFile = 1 << 20;
/// In this much of a file its content begins, or it is an odd file.
constexpr std::size_t kStartSize = 4096;

constexpr unsigned char kSequence = 0x30;
constexpr unsigned char kSet = 0x31;
constexpr unsigned char kInteger = 0x02;
constexpr unsigned char kOctetString = 0x04;
constexpr unsigned char kContext0 = 0xA0;
constexpr std::array<unsigned char, 11> kSignedData = {0x06, 0x09, 0x2A, 0x86, 0x48, 0x86,
                                                       0xF7, 0x0D, 0x01, 0x07, 0x02};
constexpr std::array<unsigned char, 11> kData = {0x06, 0x09, 0x2A, 0x86, 0x48, 0x86,
                                                 0xF7, 0x0D, 0x01, 0x07, 0x01};

/// Walks the definite-length headers at the beginning of an encoding (X.690, section 8.1.3).
class CHeaders {
public:
    CHeaders(std::span<const unsigned char> bytes, std::size_t fileLength) noexcept
        : m_bytes(bytes), m_end(fileLength) {}

    /// Enter steps into an element that lies within the one entered before.
    bool Enter(unsigned char tag) {
        Field field;
        if (!TakeHeader(tag, field))
            return false;
        m_end = m_at + field.value;
        m_entered.push_back(field);
        return true;
    }

    /// Skip steps over a whole element.
    bool Skip(unsigned char tag) {
        Field field;
        if (!TakeHeader(tag, field))
            return false;
        m_at += field.value;
        return true;
    }

    bool Skip(std::span<const unsigned char> expected) {
        if (m_at > m_bytes.size() || m_bytes.size() - m_at < expected.size() ||
            !std::equal(expected.begin(), expected.end(), m_bytes.begin() + Signed(m_at)))
            return false;
        m_at += expected.size();
        return m_at <= m_end;
    }

    /// Without gives what was walked over, as if the element entered last were empty.
    ContentPlace Without() const {
        const std::size_t length = m_entered.back().value;
        ContentPlace place{m_at, length, {m_bytes.begin(), m_bytes.begin() + Signed(m_at)}};
        for (const Field& field : m_entered) {
            std::size_t rest = field.value - length;
            for (std::size_t i = field.size; i-- > 0; rest >>= 8)
                place.start[field.at + i] = static_cast<unsigned char>(rest & 0xFF);
        }
        return place;
    }

private:
    /// The octets that hold a length.
    struct Field {
        std::size_t at = 0;
        std::size_t size = 0;
        std::size_t value = 0;
    };

    static std::ptrdiff_t Signed(std::size_t value) noexcept {
        return static_cast<std::ptrdiff_t>(value);
    }

    bool TakeHeader(unsigned char tag, Field& field) noexcept {
        if (m_at + 2 > m_bytes.size() || m_bytes[m_at] != tag)
            return false;
        const unsigned char first = m_bytes[m_at + 1];
        field = {m_at + 1, 1, first};
        if (first >= 0x80) {
            field = {m_at + 2, first & 0x7Fu, 0};
            if (field.size == 0 || field.size > 4 || m_bytes.size() - field.at < field.size)
                return false;
            for (std::size_t i = 0; i < field.size; ++i)
                field.value = field.value << 8 | m_bytes[field.at + i];
        }
        m_at = field.at + field.size;
        return m_at <= m_end && field.value <= m_end - m_at;
    }

    std::span<const unsigned char> m_bytes;
    std::size_t m_at = 0;
    std::size_t m_end;  ///< of the element entered last
    std::vector<Field> m_entered;
};

/// More take gigabytes to parse. Enough for a content of 2 GiB in pieces of half a KiB.
constexpr std::size_t kMaxElements = 4 << 20;

/// No provider's property: what asks for it has no algorithms.
char s_noProvider[] = "provider=none";

/// Parses a file and leaves the keys in its certificates alone. OpenSSL would decode all of them at
/// once, and one on a curve made for that, of 700 bytes, takes it a fifth of a second.
CUniquePkcs7 Decode(std::span<const unsigned char> file) {
    PKCS7* empty = file.empty() ? nullptr : PKCS7_new();
    if (!empty)
        return CUniquePkcs7();
    empty->ctx.propq = s_noProvider;
    const unsigned char* bytes = file.data();
    // Where it fails, it frees the empty one, but not the property.
    CUniquePkcs7 p7(d2i_PKCS7(&empty, &bytes, static_cast<long>(file.size())));
    if (p7)  // digests and ciphers are asked for from now on
        p7.Get()->ctx.propq = nullptr;
    return p7;
}

/// Puts the content into the structure that was parsed without it.
bool PutContent(PKCS7* p7, CUniqueOpenSslBytes octets, std::size_t length) noexcept {
    if (!PKCS7_type_is_signed(p7) || !p7->d.ptr || !PKCS7_type_is_data(p7->d.sign->contents) ||
        !p7->d.sign->contents->d.data)
        return false;
    ASN1_STRING_set0(p7->d.sign->contents->d.data, octets.Release(), static_cast<int>(length));
    return true;
}

CUniquePkcs7 LoadLarge(WholeFile opened) {
    std::vector<unsigned char> start(kStartSize);
    ReadPiece(*opened.file, start);
    std::optional<ContentPlace> place = FindContent(start, opened.length);
    CUniqueOpenSslBytes octets;
    if (place && place->length >= kLargeFile / 2) {
        // With a zero behind it, as OpenSSL's own copies have.
        octets.Reset(static_cast<unsigned char*>(OPENSSL_malloc(place->length + 1)));
    }
    if (!octets) {
        CFileBytes bytes(opened.length);
        std::copy(start.begin(), start.end(), bytes.Data());
        ReadPiece(*opened.file, {bytes.Data() + start.size(), bytes.Size() - start.size()});
        opened.file.reset();
        return LoadPkcs7({bytes.Data(), bytes.Size()});
    }
    const std::span<unsigned char> content(octets.Get(), place->length);
    const auto known = start.begin() + static_cast<std::ptrdiff_t>(place->offset);
    const auto taken = std::copy(known, start.end(), content.begin()) - content.begin();
    ReadPiece(*opened.file, content.subspan(static_cast<std::size_t>(taken)));
    content.data()[place->length] = 0;

    std::vector<unsigned char>& rest = place->start;
    const std::size_t before = rest.size();
    rest.resize(before + opened.length - place->offset - place->length);
    ReadPiece(*opened.file, std::span(rest).subspan(before));
    opened.file.reset();
    CUniquePkcs7 p7 = LoadPkcs7(rest);
    if (p7 && !PutContent(p7.Get(), std::move(octets), place->length))
        p7.Reset();
    return p7;
}

}  // namespace

std::optional<ContentPlace> FindContent(std::span<const unsigned char> start,
                                        std::size_t fileLength) {
    CHeaders headers(start, fileLength);
    const bool found = headers.Enter(kSequence) && headers.Skip(kSignedData) &&
                       headers.Enter(kContext0) && headers.Enter(kSequence) &&
                       headers.Skip(kInteger) && headers.Skip(kSet) && headers.Enter(kSequence) &&
                       headers.Skip(kData) && headers.Enter(kContext0) &&
                       headers.Enter(kOctetString);
    return found ? std::optional(headers.Without()) : std::nullopt;
}

CUniquePkcs7 LoadPkcs7(std::span<unsigned char> file) {
    ERR_clear_error();
    if (HasMoreElements(file, kMaxElements))
        return CUniquePkcs7();
    CUniquePkcs7 p7 = Decode(file);
    if (p7)
        return p7;
    const std::size_t hidden = HideShortTimes(file);
    if (hidden > 0)
        p7 = Decode(file);
    if (p7 && !RestoreShortTimes(p7.Get(), hidden))
        p7.Reset();
    return p7;
}

CUniquePkcs7 LoadPkcs7(const CUTF16String& path) try {
    WholeFile opened = OpenWholeFile(CFileSystem::Native(), path, kMaxFileSize);
    if (opened.length >= kLargeFile)
        return LoadLarge(std::move(opened));
    CFileBytes bytes(opened.length);
    ReadPiece(*opened.file, {bytes.Data(), bytes.Size()});
    opened.file.reset();
    return LoadPkcs7({bytes.Data(), bytes.Size()});
} catch (const EFileTooLarge&) {
    return CUniquePkcs7();
}

}  // namespace tarnwell
