#include "tarnwell/core/registration_table.h"

#include <gtest/gtest.h>

namespace tarnwell {
namespace {

TEST(RegistrationText, FillsPlaceholdersOnceAndLeavesTheRest) {
    // Folders may be called anything, even like a placeholder.
    const CUTF16String module(u"C:\\{ctx} it's\\{module}.dll");
    EXPECT_TRUE(RegistrationText(u"{module}", module) == module);
    EXPECT_TRUE(RegistrationText(u"CLSID\\{tip}\\x", module) ==
                u"CLSID\\{B6F0B3F7-85B2-458A-8A87-46161C087722}\\x");
    EXPECT_TRUE(RegistrationText(u"{00021500-} %1 {ctx", module) == u"{00021500-} %1 {ctx");
}

}  // namespace
}  // namespace tarnwell
