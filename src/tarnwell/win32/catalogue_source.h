#pragma once

// Where the handlers have the user's texts from. A narrow seam: tests put their own in its place.
// Called on the handler's thread.

#include "common/system/lang/lang.h"

namespace tarnwell {

class CCatalogueSource {
public:
    virtual ~CCatalogueSource() = default;

    /// LoadCatalogue chooses the language and loads the texts; false when they cannot be had.
    virtual bool LoadCatalogue(Lang& lang) = 0;

    /// System takes the user's language and the installed manager's texts; alive as long as the
    /// module.
    static CCatalogueSource& System() noexcept;
};

}  // namespace tarnwell
