#include "manager/core/worker.h"

#include <gmock/gmock.h>

#include "support/temp_folder.h"
#include "support/test_paths.h"

namespace tarnwell::manager {
namespace {

using test::SampleBytes;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using enum CPKCS7_TYPE;

/// A worker in a folder of its own, whose log and opened files a test can look at.
class Worker : public testing::Test {
protected:
    std::size_t Work(CPKCS7_TYPE action, const std::vector<std::string>& names,
                     CFiles&& files = CFiles()) {
        std::vector<std::u16string> paths;
        paths.reserve(names.size());
        for (const std::string& name : names)
            paths.emplace_back(test::Utf16(m_folder / name).AsView());
        const CLog log(1, [this](std::string_view line) { m_log += line; });
        CWorker worker(m_me, files, log, [this](const std::u16string& path) {
            m_opened.push_back(Utf8(std::filesystem::path(path).filename().u16string()));
            return !m_opened.back().ends_with(".odd");
        });
        return worker.Work(action, paths);
    }

    std::string Read(std::string_view name) const { return test::ReadBytes(m_folder / name); }

    // To make an identity takes many seconds where every heap call is checked.
    const std::string m_pem = SampleBytes("keys/r1.pem");
    const Identity m_me = ReadIdentity({m_pem, m_pem, m_pem, m_pem});
    test::CTempFolder m_folder;
    std::string m_log;
    std::vector<std::string> m_opened;
};

TEST_F(Worker, NumbersWhereAFileExistsAndGoesOnAfterAFileThatFails) {
    m_folder.Write("r\u00E9port, final", "one");
    m_folder.Write("r\u00E9port, final.p7", "no PKCS#7, and not to be overwritten");
    EXPECT_EQ(Work(SIGN, {"gone", "r\u00E9port, final"}), 1u);
    EXPECT_EQ(Read("r\u00E9port, final.p7"), "no PKCS#7, and not to be overwritten");
    EXPECT_EQ(Work(RECOVER, {"r\u00E9port, final.p7", "r\u00E9port, final (2).p7"}), 1u);
    EXPECT_THAT(m_log, HasSubstr("] 1/2 FAILED "));
    EXPECT_THAT(m_log, HasSubstr("] 2/2 signed "));
    EXPECT_THAT(m_log, HasSubstr("CANNOT_OPEN_FILE"));
    EXPECT_THAT(m_log, HasSubstr("ERROR_OPENSSL,ERROR_RECOVER"));
    EXPECT_THAT(m_opened, ElementsAre("r\u00E9port, final (2)"));

    class Stuck : public CFiles {
        Move MoveNew(const std::u16string&, const std::u16string&) override {
            return Move::kFailed;
        }
    };
    EXPECT_EQ(Work(SIGN, {"r\u00E9port, final"}, Stuck()), 1u);
    using Entries = std::filesystem::directory_iterator;
    EXPECT_EQ(std::distance(Entries(m_folder.Path()), Entries()), 4) << "something was left behind";
}

TEST_F(Worker, RecoversBesideAnEditedFileAndOnlyOnce) {
    const std::string bytes("secret\0\r\n\xFF", 10);
    for (const CPKCS7_TYPE action : {SIGN, ENCRYPT, SIGNENCRYPT}) {
        m_opened.clear();
        m_folder.Write("plain.bin", bytes);
        ASSERT_EQ(Work(action, {"plain.bin"}), 0u) << m_log;
        EXPECT_EQ(Read("plain.bin.p7").find("secret") == std::string::npos, action != SIGN);
        ASSERT_EQ(Work(RECOVER, {"plain.bin.p7"}), 0u) << m_log;
        m_folder.Write("plain.bin", "edited since");
        EXPECT_EQ(Work(RECOVER, {"plain.bin.p7", "plain.bin.p7"}), 0u) << m_log;
        EXPECT_EQ(Read("plain.bin"), "edited since");
        EXPECT_EQ(Read("plain (2).bin"), bytes);
        EXPECT_FALSE(std::filesystem::exists(m_folder / "plain (3).bin"));
        EXPECT_THAT(m_opened, ElementsAre("plain.bin", "plain (2).bin", "plain (2).bin"));
        std::filesystem::remove(m_folder / "plain (2).bin");
        std::filesystem::remove(m_folder / "plain.bin.p7");
    }
    EXPECT_THAT(m_log, HasSubstr("1 of 1 signatures match"));
}

TEST_F(Worker, WritesButDoesNotOpenWhatIsForgedOrAProgramOrOfNoKnownType) {
    m_folder.Write("letter.txt", "pay 100 to Anna");
    m_folder.Write("setup.exe", "MZ");
    m_folder.Write("plain.odd", "x");
    ASSERT_EQ(Work(SIGN, {"letter.txt", "setup.exe", "plain.odd"}), 0u);
    std::string forged = Read("letter.txt.p7");
    m_folder.Write("letter.txt.p7", forged.replace(forged.find("100"), 3, "999"));
    EXPECT_EQ(Work(RECOVER, {"letter.txt.p7", "setup.exe.p7"}), 0u);
    EXPECT_EQ(Read("letter (2).txt"), "pay 999 to Anna");
    EXPECT_THAT(m_opened, IsEmpty());
    EXPECT_THAT(m_log, HasSubstr("WARNING not opened, a signature does not match"));
    EXPECT_THAT(m_log, HasSubstr("because it is a program"));
    EXPECT_EQ(Work(RECOVER, {"plain.odd.p7"}), 1u);
    EXPECT_THAT(m_log, HasSubstr("but no program opens it"));
}

TEST_F(Worker, DoesNotWriteWhatDoesNotDecrypt) {
    // The end of the file is the last cipher block: damaged, its padding is wrong.
    std::string damaged = SampleBytes("hand-env-1.p7m");
    damaged.back() = static_cast<char>(damaged.back() ^ 0x55);
    m_folder.Write("damaged.txt.p7", damaged);
    m_folder.Write("foreign.txt.p7", SampleBytes("ossl-env-aes256-1.p7m"));
    EXPECT_EQ(Work(RECOVER, {"damaged.txt.p7", "foreign.txt.p7"}), 2u);
    EXPECT_FALSE(std::filesystem::exists(m_folder / "damaged.txt"));
    EXPECT_FALSE(std::filesystem::exists(m_folder / "foreign.txt"));
}

}  // namespace
}  // namespace tarnwell::manager
