#include "tarnwell/win32/catalogue_source.h"

namespace tarnwell {
namespace {

class CInstalledCatalogue final : public CCatalogueSource {
public:
    bool LoadCatalogue(Lang& lang) override {
        lang.Auto_set_local_language();
        return lang.Auto_extract_Resource_File();
    }
};

}  // namespace

CCatalogueSource& CCatalogueSource::System() noexcept {
    static constinit CInstalledCatalogue source;
    return source;
}

}  // namespace tarnwell
