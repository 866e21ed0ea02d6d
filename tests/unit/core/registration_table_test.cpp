#include "tarnwell/core/registration_table.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace tarnwell {
namespace {

TEST(RegistrationText, FillsPlaceholdersOnceAndLeavesTheRest) {
    // Folders may be called anything, even like a placeholder.
    const CUTF16String module(u"C:\\{ctx} it's\\{module}.dll");
    EXPECT_TRUE(RegistrationText(u"{module}", module) == module);
    EXPECT_TRUE(RegistrationText(u"CLSID\\{tip}\\x", module) ==
                u"CLSID\\{B6F0B3F7-85B2-458A-8A87-46161C087722}\\x");
    EXPECT_TRUE(RegistrationText(u"{00021500-0000-0000-C000-000000000046} %1 {ctx", module) ==
                u"{00021500-0000-0000-C000-000000000046} %1 {ctx");
}

// Writer and remover go through the rows in order and backwards.
TEST(RegistrationTable, NamesParentsBeforeChildren) {
    std::set<std::u16string_view> seen;
    for (const RegistrationRow& row : RegistrationTable()) {
        const std::size_t parent = row.key.rfind(u'\\');
        EXPECT_TRUE(parent == std::u16string_view::npos || seen.contains(row.key.substr(0, parent)))
            << seen.size();
        EXPECT_TRUE(seen.insert(row.key).second) << seen.size();
    }
}

// Keys that other programs use must survive: ours are never at the top.
TEST(RegistrationTable, KeepsEveryTopLevelKey) {
    for (const RegistrationRow& row : RegistrationTable())
        EXPECT_TRUE(row.flag == ERowFlag::kKeep || row.key.find(u'\\') != row.key.npos);
}

}  // namespace
}  // namespace tarnwell
