#include "common/system/lang/lang.h"

#include <gmock/gmock.h>

#include "support/trace_listener.h"

namespace tarnwell::test {
namespace {

// Which language and which archive a real installation gives is seen in its menus, end to end.
TEST(Lang, TracesTheWayToTheLanguageAndTheArchive) {
    const CTraceListener trace;
    Lang lang;
    lang.Auto_set_local_language();
    EXPECT_FALSE(lang.Auto_extract_Resource_File()) << "the tests lie in no installation";
    EXPECT_THAT(trace.Lines(), testing::IsSupersetOf({"enter Lang::Auto_set_local_language",
                                                      "leave Lang::Auto_set_local_language",
                                                      "enter Lang::Auto_extract_Resource_File",
                                                      "Kestrix resources file reading failed",
                                                      "leave Lang::Auto_extract_Resource_File"}));
}

}  // namespace
}  // namespace tarnwell::test
