#pragma once

// One demo identity for all tests of the program: its keys take a second, and many seconds where
// every heap call is checked.

#include "manager/core/identity.h"

namespace tarnwell::manager {

inline const PemIdentity& SharedPem() {
    static const PemIdentity pem = MakeIdentity();
    return pem;
}

}  // namespace tarnwell::manager
