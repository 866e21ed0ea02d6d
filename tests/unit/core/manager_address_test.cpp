#include "tarnwell/core/manager_address.h"

#include <gtest/gtest.h>

#include <vector>

namespace tarnwell {
namespace {

using Files = std::vector<CUTF16String>;

TEST(RequestAddress, CarriesPortActionAndEveryUnitOfTheList) {
    const struct {
        ActionCode action;
        Files files;
        const char* rest;
    } kCases[] = {
        {1, {u"C:\\a b", u"\u00e9.txt"}, "ENCRYPT&files=C%3A%5Ca%20b%2C%C3%A9.txt"},
        {2, {u"", u""}, "SIGNENCRYPT&files=%2C"},
        {3, {u"100%", u"a+b&c=d#e?f"}, "RECOVER&files=100%25%2Ca%2Bb%26c%3Dd%23e%3Ff"},
        {4, {CUTF16String(u"a\0b", 3), u"c"}, "UNKNOWN&files=a"},
        {0xFFFFFFFF, {}, "&files="},
        // A comma in a name looks like a separator: the manager tells them apart on disk.
        {0, {u"a,b", u"c"}, "SIGN&files=a%2Cb%2Cc"},
        // A pair is one code point; a lone surrogate and U+FFFE are question marks, and a high
        // surrogate at a name's end does not join the comma.
        {0, {u"\U0001F512\u20AC\xD800x\xFFFE"}, "SIGN&files=%F0%9F%94%92%E2%82%AC%3Fx%3F"},
        {0, {u"\xD83D", u"\xDD12"}, "SIGN&files=%3F%2C%3F"},
    };
    // The port is taken as it was read; the address parser refuses it later.
    for (const auto& test : kCases)
        EXPECT_EQ(RequestAddress("80\r\n%2", test.action, test.files),
                  CISOString("http://127.0.0.1:80\r\n%2/dyn/tarnwell_init?action=") + test.rest);
}

}  // namespace
}  // namespace tarnwell
