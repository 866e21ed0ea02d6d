#include "common/system/os/event_message_win32.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "common/system/os/install_paths.h"
#include "common/system/os/unique.h"

namespace tarnwell {
namespace {

/// A text of a table can ask for any of this many arguments, whatever the event carries.
constexpr std::size_t kMostInserts = 99;

/// Insert is a text as FORMAT_MESSAGE_ARGUMENT_ARRAY wants it; valid as long as the text.
DWORD_PTR Insert(const CUTF16String& text) noexcept {
    return reinterpret_cast<DWORD_PTR>(text.CStr());
}

using CLocalText = CUnique<CPointerTraits<wchar_t, LocalFree>>;

/// Describe is FormatMessageW with a buffer of the system's making and language 0. The call wants
/// the buffer's address and the array of texts in the guise of a text and an argument list.
std::optional<CUTF16String> Describe(DWORD flags, HMODULE module, DWORD identifier,
                                     std::vector<DWORD_PTR> inserts = {}) {
    CLocalText text;
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | flags, module, identifier,
                                        0, reinterpret_cast<wchar_t*>(text.Put()), 0,
                                        reinterpret_cast<va_list*>(inserts.data()));
    if (length == 0 || !text)
        return std::nullopt;
    return CUTF16String(Units(text.Get()), length);
}

/// Never given back: the reference would have to go under the loader lock.
HMODULE MessageModule() {
    const auto load = []() -> HMODULE {
        // Without a folder the name would stand for a file of the drive's root, which anybody may
        // have put there.
        const CUTF16String modulePath = ModulePath();
        return ModuleDirectory(modulePath).IsEmpty()
                   ? nullptr
                   : LoadLibraryW(Wide(TraceLibraryPath(modulePath)));
    };
    static const HMODULE module = load();
    return module;
}

}  // namespace

CUTF16String MessageText(const CEvent& event) {
    if (event.identifier == kEventReadyMade)
        return event.arguments.Argument(0);
    return MessageText(event, MessageModule());
}

CUTF16String MessageText(const CEvent& event, HMODULE module) {
    if (event.identifier == kEventReadyMade)
        return event.arguments.Argument(0);
    if (!module)
        return u"Unable to retrieve message.";
    std::vector<CUTF16String> texts;
    for (std::size_t i = 0; i < event.arguments.Count(); ++i)
        texts.push_back(event.arguments.Argument(i));
    const DWORD_PTR nothing = reinterpret_cast<DWORD_PTR>(L"");
    std::vector<DWORD_PTR> inserts(std::max(texts.size(), kMostInserts), nothing);
    for (std::size_t i = 0; i < texts.size(); ++i)
        inserts[i] = Insert(texts[i]);
    const auto text = Describe(FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_ARGUMENT_ARRAY, module,
                               event.identifier, std::move(inserts));
    return text ? WithoutTrailingSpace(*text) : UnknownEventText(event);
}

CUTF16String SystemErrorDescription(std::uint32_t code) {
    const auto text =
        Describe(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code);
    CTFmtArgs<CUTF16Encoding> arguments;
    arguments.Add(text ? WithoutTrailingSpace(*text) : CUTF16String(u"Unavailable description. "))
        .Add(code);
    return arguments.Format(u"%1 (%2)");
}

}  // namespace tarnwell
