#include "tarnwell/core/manager_address.h"

#include "common/system/text/convert.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

namespace tarnwell {
namespace {

using Files = std::vector<CUTF16String>;

std::string Address(ActionCode action, const Files& files, const char* port = "12345") {
    return RequestAddress(port, action, files).CStr();
}

const ProgramFilesFolders kFolders{u"C:\\Program Files", u"C:\\Program Files (x86)"};

TEST(ManagerCommandLine, PointsAtThe32BitInstallationWithoutQuotes) {
    const struct {
        const char16_t* moduleDirectory;
        const char16_t* expected;
    } cases[] = {
        {u"C:\\Program Files\\Quorva\\bin",
         u"C:\\Program Files (x86)\\Quorva\\bin\\Corvane.exe /standalone"},
        {u"C:\\program files\\Quorva\\bin",
         u"C:\\program files\\Quorva\\bin\\Corvane.exe /standalone"},
        {u"D:\\out x64\\x64\\bin", u"D:\\out win32\\x64\\bin\\Corvane.exe /standalone"},
        {u"C:\\Program Files\\x64", u"C:\\Program Files (x86)\\x64\\Corvane.exe /standalone"},
        {u"D:\\plain", u"D:\\plain\\Corvane.exe /standalone"},
        {u"", u"\\Corvane.exe /standalone"},
    };
    for (const auto& each : cases) {
        const CUTF16String line = ManagerCommandLine(each.moduleDirectory, kFolders);
        EXPECT_TRUE(line == each.expected) << Utf8FromUtf16(line).CStr();
    }
}

TEST(RequestAddress, CarriesPortActionAndFiles) {
    EXPECT_EQ(Address(kActionEncrypt, {u"C:\\a b.txt", u"D:\\\u00e9.txt"}),
              "http://127.0.0.1:12345/dyn/tarnwell_init?action=ENCRYPT"
              "&files=C%3A%5Ca%20b.txt%2CD%3A%5C%C3%A9.txt");
}

TEST(RequestAddress, NamesTheActionAndNothingForAnUnknownOne) {
    const struct {
        ActionCode action;
        const char* name;
    } cases[] = {{0, "SIGN"}, {1, "ENCRYPT"}, {2, "SIGNENCRYPT"}, {3, "RECOVER"}, {4, "UNKNOWN"},
                 {5, ""},     {6, ""},        {0xFFFFFFFF, ""}};
    for (const auto& each : cases)
        EXPECT_EQ(
            Address(each.action, {}, "1"),
            std::string("http://127.0.0.1:1/dyn/tarnwell_init?action=") + each.name + "&files=");
}

// The port is taken as it was read; the address parser refuses it later.
TEST(RequestAddress, TakesThePortAsItIs) {
    EXPECT_TRUE(Address(kActionSign, {}, "80\r\n%2").starts_with("http://127.0.0.1:80\r\n%2/dyn/"));
}

TEST(RequestAddress, EncodesEveryUnitOfTheList) {
    const struct {
        Files files;
        const char* encoded;
    } cases[] = {
        {{u"!()*-._~", u"'"}, "!()*-._~%2C%27"},
        {{u"100%", u"a+b&c=d#e?f"}, "100%25%2Ca%2Bb%26c%3Dd%23e%3Ff"},
        // A comma in a name looks like a separator: the manager tells them apart on disk.
        {{u"a,b", u"c"}, "a%2Cb%2Cc"},
        {{u"", u""}, "%2C"},
        // A pair is one code point; a lone surrogate and U+FFFE are question marks.
        {{u"\U0001F512"}, "%F0%9F%94%92"},
        {{u"\xD800x\xDC00\xFFFE"}, "%3Fx%3F%3F"},
        // A high surrogate at a name's end does not join the comma.
        {{u"\xD83D", u"\xDD12"}, "%3F%2C%3F"},
        {{CUTF16String(u"a\0b", 3), u"c"}, "a"},
    };
    for (const auto& each : cases) {
        const std::string address = Address(kActionSign, each.files);
        EXPECT_EQ(address.substr(address.find("&files=") + 7), each.encoded);
    }
}

double MillisecondsFor(std::size_t count) {
    const Files files(count, CUTF16String(std::u16string(150, u'\u00e9')));
    double best = 1e9;
    for (int round = 0; round < 5; ++round) {
        const auto start = std::chrono::steady_clock::now();
        const std::size_t length = RequestAddress("1", kActionSign, files).Length();
        const std::chrono::duration<double, std::milli> time =
            std::chrono::steady_clock::now() - start;
        EXPECT_GT(length, count * 150 * 6);
        best = std::min(best, time.count());
    }
    return best;
}

TEST(RequestAddress, TakesTimeLinearInTheNumberOfFiles) {
    // Between ten times and a hundred times: the machine is busy with other tests.
    EXPECT_LT(MillisecondsFor(5000), MillisecondsFor(500) * 30);
}

}  // namespace
}  // namespace tarnwell
