#include "tarnwell/core/registration_table.h"

#include <gtest/gtest.h>

#include <set>

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

// Writer and remover go through the rows in order and backwards. Keys that other programs use
// must survive: ours are never at the top.
TEST(RegistrationTable, NamesParentsFirstAndKeepsEveryTopLevelKey) {
    std::set<std::u16string_view> seen;
    for (const RegistrationRow& row : RegistrationTable()) {
        const std::size_t parent = row.key.rfind(u'\\');
        if (parent == row.key.npos)
            EXPECT_EQ(row.flag, ERowFlag::kKeep) << seen.size();
        else
            EXPECT_TRUE(seen.contains(row.key.substr(0, parent))) << seen.size();
        EXPECT_TRUE(seen.insert(row.key).second) << seen.size();
    }
}

}  // namespace
}  // namespace tarnwell
