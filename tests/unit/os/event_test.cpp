#include "common/system/os/event.h"

#include <gtest/gtest.h>

namespace tarnwell {
namespace {

TEST(Event, AForgottenSeverityIsAnError) {
    EXPECT_EQ(EventTypeOf(0x01010001), EEventType::kError);
    EXPECT_EQ(EventTypeOf(0x7FFFFFFF), EEventType::kInformation);
    EXPECT_EQ(EventTypeOf(0x80000000), EEventType::kWarning);
    EXPECT_EQ(EventTypeOf(0xC1010001), EEventType::kError);
}

TEST(Event, OneWithoutATextShowsWhatItCarries) {
    CEvent event{5, 0, {}};
    event.arguments.Add(u"a %1 ").Add(7).Add(u"b\t\r\n");
    EXPECT_EQ(UnknownEventText(event),
              u"Unable to retrieve message (msgid is 0x00000005).\na %1 \n7\nb");
    EXPECT_EQ(WithoutTrailingSpace(u" \r\n"), u"");
}

}  // namespace
}  // namespace tarnwell
