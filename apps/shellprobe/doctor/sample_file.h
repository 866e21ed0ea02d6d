#pragma once

// A signed file for the handlers to look at, in the user's temporary folder for as long as the
// object lives.

#include <string>

namespace tarnwell::shellprobe {

/// The name in the sample's certificate.
inline constexpr wchar_t kSampleSigner[] = L"Tarnwell sample";

class CSampleFile {
public:
    /// Writes the file. Throws CException where it cannot.
    CSampleFile();
    ~CSampleFile();
    CSampleFile(const CSampleFile&) = delete;
    CSampleFile& operator=(const CSampleFile&) = delete;

    const std::wstring& Path() const noexcept { return m_path; }

private:
    std::wstring m_path;
};

}  // namespace tarnwell::shellprobe
