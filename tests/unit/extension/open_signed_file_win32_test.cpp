#include "tarnwell/win32/open_signed_file.h"

#include "extension_fixture.h"
#include "support/process_growth.h"
#include "tarnwell/win32/manager_request.h"

#include <new>
#include <set>

namespace tarnwell::test {
namespace {

namespace fs = std::filesystem;

std::set<fs::path> s_opened;
std::intptr_t s_shellResult;

std::intptr_t Record(const CUTF16String& file) {
    s_opened.emplace(file.AsView());
    return s_shellResult;
}

TEST(OpenSignedFile, WritesTheContentOfTheFirstSignedFileBesideItAndOpensIt) {
    ManagerSurroundings surroundings;
    surroundings.openFile = &Record;
    surroundings.createPipe = [](auto&, auto&) -> bool { throw "the manager is not needed"; };
    const char* notSigned = "The file is not only signed";
    const char* unreadable = "Failed to create PKCS7 from encrypted file";
    const struct {
        const char* file;
        const char* name;
        std::intptr_t shell;
        ResultCode result;
        const char* opened = nullptr;
        const char* message = nullptr;
    } cases[] = {
        {"bc-rsa.p7", "r\u00e9port, 1.txt.p7m", 33, kResultDone, "r\u00e9port, 1.txt"},
        {"bc-rsa.p7", "32.txt.p7", 32, kResultDone, "32.txt"},
        {"bc-rsa.p7", "31.p7", 31, kResultOpenFailed, "31", "We could not open file"},
        {"bc-rsa.p7", "no dot", 33, kResultDone, "no dot"},
        {"bc-rsa.p7", "folder.p7", 33, kResultDone, "folder"},  // not written, which is no failure
        {"hand-bad-signature.p7", "a.p7", 33, kResultDone, "a"},  // signatures are not judged
        {"bc-env-3des.p7m", "b.p7", 33, kResultFailed, nullptr, notSigned},
        {"capi-sae-noattr.p7m", "c.p7", 33, kResultFailed, nullptr, notSigned},
        {"nonp7-html.p7", "d.p7", 33, kResultFailed, nullptr, unreadable},
        {nullptr, "missing.p7", 33, kResultFailed},
    };
    const CTempFolder folder;
    const auto files = [&] {
        return std::set<fs::path>{fs::directory_iterator(folder.Path()), fs::directory_iterator()};
    };
    fs::create_directory(folder / "folder");
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        s_opened.clear();
        s_shellResult = each.shell;
        if (each.file)
            folder.Write(each.name, SampleBytes(each.file));
        std::set<fs::path> expected = files(), opened;
        if (each.opened)
            opened.insert(folder / each.opened);
        const CUTF16String selected[] = {Utf16(folder / each.name), u"C:\\second.p7"};
        const CTraceListener trace;
        EXPECT_EQ(SendToServer(kActionOpen, selected, surroundings), each.result);
        EXPECT_EQ(trace.Messages(), each.message ? Strings{each.message} : Strings());
        EXPECT_EQ(s_opened, opened);
        expected.merge(opened);
        EXPECT_EQ(files(), expected);
    }
    EXPECT_EQ(SendToServer(kActionOpen, {}, surroundings), kResultFailed);
    EXPECT_EQ(ReadBytes(folder / "r\u00e9port, 1.txt"), "Orchard: forty baskets.\n");
    EXPECT_EQ(ReadBytes(folder / "31"), "Orchard: forty baskets.\n");
    EXPECT_EQ(fs::file_size(folder / "a"), 28u);
}

TEST(OpenSignedFile, KeepsNothingOfTheFilesItOpened) {
    const CTempFolder folder;
    const CUTF16String files[] = {Utf16(folder.Write("a.txt.p7", SampleBytes("bc-rsa.p7"))),
                                  Utf16(folder.Write("b.txt.p7", SampleBytes("bc-env-3des.p7m"))),
                                  Utf16(folder.Write("c.txt.p7", SampleBytes("nonp7-html.p7")))};
    const ShellOpener failing = [](auto&) -> std::intptr_t { throw std::bad_alloc(); };
    // A lost structure or certificate a round would add much.
    ExpectNoGrowth(3, 100, [&] {
        for (const CUTF16String& file : files)
            EXPECT_EQ(OpenSignedFile(file, failing), kResultFailed);
    });
}

}  // namespace
}  // namespace tarnwell::test
