#include "tarnwell/win32/context_menu_services.h"

#include "tarnwell/win32/manager_request.h"

namespace tarnwell {
namespace {

class CSystemMenuServices final : public CMenuServices {
public:
    bool LoadCatalogue(Lang& lang) override {
        return CCatalogueSource::System().LoadCatalogue(lang);
    }

    ResultCode Send(ActionCode action, std::span<const CUTF16String> files) override {
        return SendToServer(action, files);
    }

    void ShowMessage(HWND owner, const CUTF16String& title, const CUTF16String& text) override {
        MessageBoxW(owner, Wide(text), Wide(title), MB_OK | MB_ICONINFORMATION);
    }
};

}  // namespace

CMenuServices& CMenuServices::System() noexcept {
    static constinit CSystemMenuServices services;
    return services;
}

}  // namespace tarnwell
