// Judges signed files as the icon handler does, with Windows' own chain engine, for tests:
//
//   validity FILE...
//
// prints a line a file: the overlay's number, or "failed" where the file cannot be judged; and the
// error bits that the engine gave for each certificate it was asked about, "-" where it gave none.

#include "tarnwell/win32/shellicon.h"

#include <cstdio>
#include <exception>
#include <string>

namespace {

using namespace tarnwell;

/// The real engine, overheard.
class COverheardEngine final : public CChainEngine {
public:
    std::optional<std::uint32_t> ErrorStatus(std::span<const unsigned char> der) override {
        const std::optional<std::uint32_t> errors = System().ErrorStatus(der);
        char text[16] = " -";
        if (errors)
            (void)std::snprintf(text, sizeof text, " 0x%08X", static_cast<unsigned>(*errors));
        m_answers += text;
        return errors;
    }
    const char* Answers() const { return m_answers.c_str(); }

private:
    std::string m_answers;
};

void Judge(const CUTF16String& path) {
    COverheardEngine engine;
    std::string verdict = "failed";
    try {
        verdict = std::to_string(Get_overlay_signature_validity(path, engine));
    } catch (const std::exception&) {
    } catch (CPKCS7_ERROR) {
    }
    std::printf("%s%s\n", verdict.c_str(), engine.Answers());
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    for (int i = 1; i < argc; ++i)
        Judge(reinterpret_cast<const char16_t*>(argv[i]));
    return 0;
}
