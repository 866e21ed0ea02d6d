#include "tarnwell/core/menu_model.h"

#include <gtest/gtest.h>

namespace tarnwell {
namespace {

TEST(MenuModel, OnlyTheTextAfterTheLastDotMakesAContainer) {
    for (const char16_t* path : {u"C:\\a.p7", u"C:\\a.P7", u"C:\\a.pdf.p7", u"p7", u"C:\\.p7"})
        EXPECT_TRUE(IsContainerName(path)) << testing::PrintToString(path);
    for (const char16_t* path : {u"a.p7.", u"a.p7m", u"a.p7 ", u"C:\\a.p7\\name", u"C:\\a\\p7",
                                 u"a.xp7", u"a.\uff50\uff17", u"", u"."})
        EXPECT_FALSE(IsContainerName(path)) << testing::PrintToString(path);
}

}  // namespace
}  // namespace tarnwell
