#include "common/system/lang/lang.h"

#include <exception>

#include "common/system/lang/catalogue.h"
#include "common/system/os/file.h"
#include "common/system/os/install_paths.h"
#include "common/system/trace/trace.h"

namespace tarnwell {

Lang::Lang() noexcept : m_language(kSupportedLanguages[0]), m_root(CJSValue::UndefinedOwner()) {}

CISOString Lang::operator[](std::string_view key) const noexcept {
    const CTraceScope scope("Lang::operator[]");
    try {
        return LookUpText(*m_root, key);
    } catch (const std::exception&) {
        // Only memory can be missing here, and then there is none for a text either.
        return {};
    }
}

void Lang::UseLanguages(std::u16string_view names) noexcept {
    m_language = ChooseLanguage(names);
    if (m_language == nullptr) {
        TraceString("Geting the fallback language");
        m_language = kSupportedLanguages[0];
    }
}

bool Lang::Load(const CUTF16String& path) noexcept {
    try {
        const CISOString entryName = CatalogueEntryName(m_language);
        CFileBytes archive;
        try {
            archive = ReadWholeFile(path, kMaxArchiveBytes);
        } catch (const std::exception&) {
            TraceString("Kestrix resources file reading failed");
            return false;
        }
        std::optional<CJSValueOwner> root = ReadCatalogue(archive, entryName);
        if (!root)
            return false;
        m_root = std::move(*root);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

CUTF16String ArchivePathOf(const CUTF16String& modulePath, const ProgramFilesFolders& folders) {
    return MapTo32BitInstall(ResourceDirectory(modulePath) + u"\\kestrix.bin", folders);
}

}  // namespace tarnwell
