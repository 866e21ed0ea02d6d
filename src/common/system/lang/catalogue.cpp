#include "common/system/lang/catalogue.h"

#include <algorithm>

#include <miniz.h>

#include "common/system/json/js_parser.h"
#include "common/system/os/file.h"
#include "common/system/trace/trace.h"

namespace tarnwell {

const char* const kSupportedLanguages[] = {"en", "fr", "es", "pl", nullptr};

namespace {

/// The zip reader and what it has allocated.
class CZipReader {
public:
    explicit CZipReader(std::span<const unsigned char> archive) noexcept {
        if (!mz_zip_reader_init_mem(&m_zip, archive.data(), archive.size(), 0))
            TraceString("Kestrix resources extraction failed");
    }
    ~CZipReader() { mz_zip_reader_end(&m_zip); }
    CZipReader(const CZipReader&) = delete;
    CZipReader& operator=(const CZipReader&) = delete;

    /// Extract unpacks an entry; nothing where it is absent (as it is in an archive that did not
    /// open), damaged or larger than `limit` bytes.
    std::optional<CFileBytes> Extract(const CISOString& name, std::size_t limit) {
        const int index = mz_zip_reader_locate_file(&m_zip, name.CStr(), nullptr, 0);
        if (index < 0)
            return std::nullopt;
        const auto entry = static_cast<mz_uint>(index);
        mz_zip_archive_file_stat status = {};
        if (!mz_zip_reader_file_stat(&m_zip, entry, &status) || status.m_uncomp_size > limit)
            return std::nullopt;
        // Of these the reader would unpack nothing, and the text would be what lay in memory.
        if (status.m_uncomp_size != 0 && (status.m_is_directory || status.m_comp_size == 0))
            return std::nullopt;
        CFileBytes bytes(static_cast<std::size_t>(status.m_uncomp_size));
        if (!mz_zip_reader_extract_to_mem(&m_zip, entry, bytes.Data(), bytes.Size(), 0))
            return std::nullopt;
        return bytes;
    }

private:
    mz_zip_archive m_zip = {};
};

/// IsLanguage compares UTF-16 units with a code's bytes, case and all.
bool IsLanguage(std::u16string_view name, std::string_view code) noexcept {
    return std::equal(
        name.begin(), name.end(), code.begin(), code.end(),
        [](char16_t unit, char byte) { return unit == static_cast<unsigned char>(byte); });
}

const char* FindLanguage(std::u16string_view name) noexcept {
    for (const char* const* language = kSupportedLanguages; *language != nullptr; ++language)
        if (IsLanguage(name, *language))
            return *language;
    return nullptr;
}

}  // namespace

const char* ChooseLanguage(std::u16string_view names) noexcept {
    while (!names.empty() && names.front() != u'\0') {
        const std::u16string_view name = names.substr(0, names.find(u'\0'));
        names.remove_prefix(std::min(name.size() + 1, names.size()));
        const char* language = FindLanguage(name);
        if (language == nullptr && name.size() > 2 && name[2] == u'-')
            language = FindLanguage(name.substr(0, 2));
        if (language != nullptr)
            return language;
    }
    return nullptr;
}

CISOString CatalogueEntryName(const char* language) {
    return CISOString("scripts/language.") + language + ".js";
}

std::optional<CJSValueOwner> ReadCatalogue(std::span<const unsigned char> archive,
                                           const CISOString& entryName) {
    const std::optional<CFileBytes> script =
        CZipReader(archive).Extract(entryName, kMaxCatalogueBytes);
    if (!script)
        return std::nullopt;
    // The entry is a script that assigns the object to a variable: the object is what counts.
    const auto* const start = reinterpret_cast<const char*>(script->Data());
    const char* const end = start + script->Size();
    const char* cursor = std::find(start, end, '{');
    return ParseJSValue(cursor, end);
}

CISOString LookUpText(const CJSValue& root, std::string_view key) {
    const CJSValue* value = &root;
    for (bool more = true; more;) {
        const std::size_t dot = key.find('.');
        more = dot != std::string_view::npos;
        value = &value->Member(key.substr(0, dot));
        if (value->IsUndefined())
            return kUndefinedText;
        if (more)
            key.remove_prefix(dot + 1);
    }
    return value->StringValue();
}

}  // namespace tarnwell
