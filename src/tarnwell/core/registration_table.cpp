#include "tarnwell/core/registration_table.h"

#include <utility>

namespace tarnwell {
namespace {

constexpr ERowFlag kKeep = ERowFlag::kKeep;
constexpr ERowFlag kForce = ERowFlag::kForce;
constexpr ERowFlag kPlain = ERowFlag::kPlain;

constexpr std::array<RegistrationValue, 2> Default(std::u16string_view text) {
    return {{{u"", text}}};
}
constexpr std::array<RegistrationValue, 2> kServer = {
    {{u"", u"{module}"}, {u"ThreadingModel", u"Apartment"}}};

constexpr RegistrationRow kTable[] = {
    {u".p7", kKeep, Default(u"PKCS7File")},
    {u".p7m", kKeep, Default(u"PKCS7File")},

    // The menu is for all files …
    {u"*", kKeep},
    {u"*\\shellex", kKeep},
    {u"*\\shellex\\ContextMenuHandlers", kKeep},
    {u"*\\shellex\\ContextMenuHandlers\\Tarnwell Extension", kForce, Default(u"{ctx}")},

    // … the icon and the tip only for ours. The icon "%1" has explorer ask the icon handler about
    // each file; the tip's key is the identifier of IQueryInfo.
    {u"PKCS7File", kKeep, Default(u"Encrypted/signed file (PKCS#7 format)")},
    {u"PKCS7File\\DefaultIcon", kForce, Default(u"%1")},
    {u"PKCS7File\\Shellex", kForce},
    {u"PKCS7File\\Shellex\\IconHandler", kPlain, Default(u"{icon}")},
    {u"PKCS7File\\Shellex\\{00021500-0000-0000-C000-000000000046}", kPlain, Default(u"{tip}")},

    {u"CLSID", kKeep},
    {u"CLSID\\{ctx}", kForce, Default(u"Tarnwell Extension")},
    {u"CLSID\\{ctx}\\InprocServer32", kPlain, kServer},
    {u"CLSID\\{ctx}\\shellex", kPlain},
    {u"CLSID\\{ctx}\\shellex\\MayChangeDefaultMenu", kPlain},
    {u"CLSID\\{tip}", kForce, Default(u"Tarnwell hover tip")},
    {u"CLSID\\{tip}\\InprocServer32", kPlain, kServer},
    {u"CLSID\\{icon}", kForce, Default(u"Tarnwell PKCS#7 File Icon")},
    {u"CLSID\\{icon}\\InprocServer32", kPlain, kServer},
};

}  // namespace

std::span<const RegistrationRow> RegistrationTable() noexcept {
    return kTable;
}

CUTF16String RegistrationText(std::u16string_view text, const CUTF16String& modulePath) {
    const std::pair<std::u16string_view, std::u16string_view> fillings[] = {
        {u"{ctx}", kContextMenuClass},
        {u"{icon}", kExtractIconClass},
        {u"{tip}", kShellHoverClass},
        {u"{module}", modulePath},
    };
    CUTF16String filled;
    while (!text.empty()) {
        std::u16string_view taken = text.substr(0, 1);
        std::u16string_view written = taken;
        for (const auto& [placeholder, filling] : fillings) {
            if (text.starts_with(placeholder)) {
                taken = placeholder;
                written = filling;
            }
        }
        filled.Append(written);
        text.remove_prefix(taken.size());
    }
    return filled;
}

}  // namespace tarnwell
