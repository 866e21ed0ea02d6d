// What the icons and the tips of signed files cost, beside the sum of the calls that they cannot do
// without: 1,000 files of 3 KB, each with an inner type of its own. Handlers and bare calls take
// turns on every file, and each row compares the medians of the rounds.

#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "bench_rows.h"
#include "bench_signed_files.h"
#include "common/system/os/owners_win32.h"
#include "common/system/os/settings_win32.h"
#include "tarnwell/win32/extract_icon.h"
#include "tarnwell/win32/shell_hover.h"

namespace {

using namespace tarnwell;
namespace fs = std::filesystem;

constexpr int kFiles = 1000;
constexpr std::size_t kContent = 1500;  // makes a file of about 3 KB
constexpr int kRounds = 5;
constexpr int kLarge = 48;  // pixels
constexpr int kSmall = 16;
constexpr int kOverlaySteps = 2;  // a size: the kind of content and the verdict

/// The inner types' registration, in a key that goes away with everything below it.
class CClasses {
public:
    CClasses() : m_classes(CSettingsKey::Create(HKEY_CURRENT_USER, kPath)) {}
    ~CClasses() { CSettingsKey::Open(HKEY_CURRENT_USER, u"Software", true).DeleteKey(kName); }
    CClasses(const CClasses&) = delete;
    CClasses& operator=(const CClasses&) = delete;

    HKEY Get() const noexcept { return m_classes.Get(); }

    /// Add registers files of `extension`, whose icon is icon `index` of the file `icons`.
    void Add(const CUTF16String& extension, const CUTF16String& icons, int index) const {
        const CUTF16String type = u"Type" + extension;
        const CSettingsKey named = CSettingsKey::Create(Get(), u"." + extension);
        const CSettingsKey icon = CSettingsKey::Create(Get(), type + u"\\DefaultIcon");
        Require(named.SetText(u"", type) && icon.SetText(u"", icons + u"," + Number(index)),
                "the inner type cannot be registered");
    }

    static CUTF16String Number(int number) {
        const std::string digits = std::to_string(number);
        return CUTF16String(std::u16string(digits.begin(), digits.end()));
    }

private:
    static constexpr char16_t kPath[] = u"Software\\TarnwellBench";
    static constexpr char16_t kName[] = u"TarnwellBench";
    CSettingsKey m_classes;
};

/// The catalogue beside this program, as it was built.
class CBuiltCatalogue final : public CCatalogueSource {
public:
    explicit CBuiltCatalogue(const fs::path& program)
        : m_path(Utf16(program.parent_path() / "resources" / "kestrix.bin")) {}
    bool LoadCatalogue(Lang& lang) override {
        lang.Auto_set_local_language();
        return lang.Load(m_path);
    }

private:
    CUTF16String m_path;
};

/// One signed file and where the icon of its inner type is.
struct Sample {
    std::wstring path;
    std::wstring icons;
    int index;
};

std::vector<Sample> MakeSamples(const Signer& signer, const fs::path& folder,
                                const CClasses& classes) {
    wchar_t system[MAX_PATH];
    Require(GetSystemDirectoryW(system, MAX_PATH) != 0, "there is no system folder");
    const fs::path icons = fs::path(system) / "shell32.dll";
    const UINT count = PrivateExtractIconsW(icons.c_str(), 0, 0, 0, nullptr, nullptr, 0, 0);
    Require(count > 0, "the system's library has no icons");
    const fs::path one = MakeSigned(signer, folder / "one", kContent);
    std::vector<Sample> samples;
    for (int i = 0; i < kFiles; ++i) {
        const int index = i % static_cast<int>(count);
        const CUTF16String extension = u"t" + CClasses::Number(i);
        classes.Add(extension, Utf16(icons), index);
        const fs::path path = folder / ("file.t" + std::to_string(i) + ".p7m");
        fs::copy_file(one, path);
        samples.push_back({path.wstring(), icons.wstring(), index});
    }
    return samples;
}

void HandlerIcons(const Sample& sample, HKEY classes) {
    const auto handler = MakeObject<CExtractIcon>(classes);
    UINT flags = 0;
    int index = 0;
    HICON large = nullptr;
    HICON small = nullptr;
    Require(handler->Load(sample.path.c_str(), 0) == S_OK &&
                handler->GetIconLocation(0, nullptr, 0, &index, &flags) == S_OK &&
                handler->Extract(nullptr, 0, &large, &small, MAKELONG(kLarge, kSmall)) == S_OK,
            "the handler draws nothing");
    const CUniqueIcon ownedLarge(large);
    const CUniqueIcon ownedSmall(small);
    Require(ownedLarge && ownedSmall, "an icon is missing");
}

/// BareRead opens, reads and closes the file and verifies its signature.
void BareRead(const Sample& sample) {
    const CUniqueFile file(CreateFileW(sample.path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                       OPEN_EXISTING, 0, nullptr));
    LARGE_INTEGER size = {};
    Require(file && GetFileSizeEx(file.Get(), &size), "a file cannot be opened");
    std::string bytes(static_cast<std::size_t>(size.QuadPart), '\0');
    DWORD read = 0;
    Require(ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr) &&
                read == bytes.size(),
            "a file cannot be read");
    BareCalls(bytes);
}

/// An icon's bitmaps, to make an icon of again and again.
class CIconParts {
public:
    explicit CIconParts(HICON icon) {
        Require(GetIconInfo(icon, &m_info), "an icon has no bitmaps");
        m_colour.Reset(m_info.hbmColor);
        m_mask.Reset(m_info.hbmMask);
    }
    CUniqueIcon Make() { return CUniqueIcon(CreateIconIndirect(&m_info)); }

private:
    ICONINFO m_info{};
    CUniqueBitmap m_colour, m_mask;
};

CUniqueIcon ExtractOne(const Sample& sample, int size) {
    HICON icon = nullptr;
    UINT id = 0;
    PrivateExtractIconsW(sample.icons.c_str(), sample.index, size, size, &icon, &id, 1, 0);
    Require(icon, "the library has no such icon");
    return CUniqueIcon(icon);
}

/// TakeTurns has either begin every other time, so that neither always finds what the other left
/// in the caches.
template <class First, class Second>
void TakeTurns(std::size_t turn, First&& first, Second&& second) {
    if (turn % 2 == 0) {
        first();
        second();
    } else {
        second();
        first();
    }
}

template <class Action>
void Add(double& time, Action&& action) {
    const auto start = Clock::now();
    action();
    time += Milliseconds(start);
}

using Parts = std::array<CIconParts, 2>;

/// What the icons of one file need, part by part.
struct BareTimes {
    double read = 0, extract = 0, create = 0, chain = 0;
    double Sum() const noexcept { return read + extract + create + chain; }
};

void BareIcons(const Sample& sample, Parts& parts, const std::vector<unsigned char>& certificate,
               BareTimes& times) {
    Add(times.read, [&] { BareRead(sample); });
    Add(times.extract, [&] {
        for (const int size : {kLarge, kSmall})
            ExtractOne(sample, size);
    });
    Add(times.create, [&] {
        for (CIconParts& part : parts)
            for (int step = 0; step < kOverlaySteps; ++step)
                Require(static_cast<bool>(part.Make()), "no icon can be made");
    });
    Add(times.chain, [&] {
        Require(CChainEngine::System().ErrorStatus(certificate).has_value(),
                "no chain can be built");
    });
}

void Icons(const std::vector<Sample>& samples, const CClasses& classes, const Signer& signer,
           CRows& rows) {
    Parts parts{CIconParts(ExtractOne(samples[0], kLarge).Get()),
                CIconParts(ExtractOne(samples[0], kSmall).Get())};
    CUniqueOpenSslBytes der;
    const int length = i2d_X509(signer.certificate.Get(), der.Put());
    const std::vector<unsigned char> certificate(der.Get(), der.Get() + length);

    std::vector<double> own, bare, read, extract, create, chain;
    for (int round = 0; round < kRounds; ++round) {
        double ownTime = 0;
        BareTimes times;
        for (std::size_t i = 0; i < samples.size(); ++i)
            TakeTurns(
                i + static_cast<std::size_t>(round),
                [&] { Add(ownTime, [&] { HandlerIcons(samples[i], classes.Get()); }); },
                [&] { BareIcons(samples[i], parts, certificate, times); });
        own.push_back(ownTime);
        bare.push_back(times.Sum());
        read.push_back(times.read);
        extract.push_back(times.extract);
        create.push_back(times.create);
        chain.push_back(times.chain);
    }
    std::printf("Icons of %d signed files, %d and %d pixels (medians of %d rounds)\n", kFiles,
                kLarge, kSmall, kRounds);
    rows.Print("GetIconLocation and Extract", Median(own), "ms");
    rows.Print("the bare parts", Median(bare), "ms");
    rows.Print("  reading and verifying with OpenSSL's calls", Median(read), "ms");
    rows.Print("  one PrivateExtractIconsW a size", Median(extract), "ms");
    rows.Print("  one CreateIconIndirect an overlay step", Median(create), "ms");
    rows.Print("  one certificate chain", Median(chain), "ms");
    rows.Print("ratio", Median(own) / Median(bare), "x ", 1.5);
}

void HandlerTip(const Sample& sample, CCatalogueSource& catalogue) {
    const auto handler = MakeObject<CShellHover>(catalogue);
    CUniqueTaskMemory<WCHAR> tip;
    Require(
        handler->Load(sample.path.c_str(), 0) == S_OK && handler->GetInfoTip(0, tip.Put()) == S_OK,
        "there is no tip");
}

void BareTip(const Sample& sample, CCatalogueSource& catalogue) {
    Lang lang;
    Require(catalogue.LoadCatalogue(lang), "there is no catalogue");
    BareRead(sample);
}

void Tips(const std::vector<Sample>& samples, CCatalogueSource& catalogue, CRows& rows) {
    std::vector<double> own, bare;
    for (int round = 0; round < kRounds; ++round) {
        double ownTime = 0;
        double bareTime = 0;
        for (std::size_t i = 0; i < samples.size(); ++i)
            TakeTurns(
                i + static_cast<std::size_t>(round),
                [&] { Add(ownTime, [&] { HandlerTip(samples[i], catalogue); }); },
                [&] { Add(bareTime, [&] { BareTip(samples[i], catalogue); }); });
        own.push_back(ownTime);
        bare.push_back(bareTime);
    }
    std::printf("Tips of the same files\n");
    rows.Print("GetInfoTip", Median(own), "ms");
    rows.Print("reading, verifying and the catalogue's load", Median(bare), "ms");
    rows.Print("ratio", Median(own) / Median(bare), "x ", 1.3);
}

}  // namespace

int main(int, char** arguments) try {
    CRows rows;
    const BenchFolder folder;
    const CClasses classes;
    const Signer signer;
    CBuiltCatalogue catalogue{fs::path(arguments[0])};
    const std::vector<Sample> samples = MakeSamples(signer, folder.path, classes);
    Icons(samples, classes, signer, rows);
    Tips(samples, catalogue, rows);
    return rows.ExitStatus();
} catch (const std::exception& error) {
    return Failed("icon_bench", error);
}
