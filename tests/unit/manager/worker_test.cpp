#include "manager/core/worker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/crypto/pkcs7_build.h"
#include "common/crypto/pkcs7_request.h"
#include "shared_identity.h"
#include "support/temp_folder.h"

namespace tarnwell::manager {
namespace {

using test::CTempFolder;
using test::ReadBytes;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

const Identity& Me() {
    static const Identity identity = ReadIdentity(SharedPem());
    return identity;
}

std::u16string Name(const std::filesystem::path& path) {
    return std::u16string(test::Utf16(path).AsView());
}

std::vector<std::string> NamesIn(const CTempFolder& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path()))
        names.push_back(Utf8(entry.path().filename().u16string()));
    return names;
}

/// A worker whose log and opened files a test can look at.
class Worker : public testing::Test {
protected:
    std::size_t Work(CPKCS7_TYPE action, const std::vector<std::filesystem::path>& paths) {
        std::vector<std::u16string> names;
        for (const auto& path : paths)
            names.push_back(Name(path));
        const CLog log(1, [this](std::string_view line) { m_log += line; });
        CWorker worker(Me(), *m_files, log, [this](const std::u16string& path) {
            m_opened.push_back(Utf8(path));
            return m_opens;
        });
        return worker.Work(action, names);
    }

    std::string Text(const std::filesystem::path& path) { return Utf8(Name(path)); }

    CTempFolder m_folder;
    CFiles m_system;
    CFiles* m_files = &m_system;
    std::string m_log;
    std::vector<std::string> m_opened;
    bool m_opens = true;
};

TEST_F(Worker, SignsEveryFileBesideItAndNumbersWhereAFileExists) {
    const auto report = m_folder.Write("r\xC3\xA9port, final.pdf", "one");
    const auto notes = m_folder.Write("notes", "");
    m_folder.Write("notes.p7", "not to be overwritten");
    m_folder.Write("notes (2).p7", "nor this");
    EXPECT_EQ(Work(CPKCS7_TYPE::SIGN, {report, notes}), 0u);
    EXPECT_THAT(NamesIn(m_folder),
                UnorderedElementsAre("r\xC3\xA9port, final.pdf", "r\xC3\xA9port, final.pdf.p7",
                                     "notes", "notes.p7", "notes (2).p7", "notes (3).p7"));
    EXPECT_EQ(ReadBytes(m_folder / "notes.p7"), "not to be overwritten");
    EXPECT_EQ(ReadBytes(m_folder / "notes (2).p7"), "nor this");

    CPKCS7Request file{test::Utf16(m_folder / "r\xC3\xA9port, final.pdf.p7")};
    EXPECT_TRUE(file->IsOnlySigned());
    const CUniqueSignerList signers = file->GetSigners(nullptr, nullptr);
    ASSERT_EQ(signers.Get()->size(), 1u);
    EXPECT_TRUE(signers.Get()->front()->verified);
    EXPECT_THAT(m_log, HasSubstr("] 1/2 signed "));
    EXPECT_THAT(m_log, HasSubstr("notes (3).p7\r\n"));
    EXPECT_THAT(m_opened, IsEmpty());
}

TEST_F(Worker, EncryptsForItselfAndRecovers) {
    for (const CPKCS7_TYPE action : {CPKCS7_TYPE::ENCRYPT, CPKCS7_TYPE::SIGNENCRYPT}) {
        const std::string bytes("secret\0\r\n\xFF", 10);
        const auto plain = m_folder.Write("plain.bin", bytes);
        const auto locked = m_folder / "plain.bin.p7";
        ASSERT_EQ(Work(action, {plain}), 0u) << m_log;
        EXPECT_EQ(ReadBytes(locked).find("secret"), std::string::npos);
        EXPECT_EQ(
            CPKCS7Request { test::Utf16(locked) } -> GetType(), action);

        std::filesystem::remove(plain);
        ASSERT_EQ(Work(CPKCS7_TYPE::RECOVER, {locked}), 0u) << m_log;
        EXPECT_EQ(ReadBytes(plain), bytes);
        EXPECT_THAT(m_opened, ElementsAre(Text(plain)));
        EXPECT_THAT(NamesIn(m_folder), UnorderedElementsAre("plain.bin", "plain.bin.p7"));
        m_opened.clear();
        std::filesystem::remove(locked);
    }
}

TEST_F(Worker, RecoveringAgainUsesTheFileThatHoldsTheContentAlready) {
    const auto report = m_folder.Write("report.txt", "content");
    ASSERT_EQ(Work(CPKCS7_TYPE::SIGN, {report}), 0u);
    const auto packed = m_folder / "report.txt.p7";
    EXPECT_EQ(Work(CPKCS7_TYPE::RECOVER, {packed}), 0u);
    EXPECT_THAT(m_opened, ElementsAre(Text(report)));

    m_folder.Write("report.txt", "edited since");
    EXPECT_EQ(Work(CPKCS7_TYPE::RECOVER, {packed}), 0u);
    EXPECT_EQ(Work(CPKCS7_TYPE::RECOVER, {packed}), 0u);
    EXPECT_EQ(ReadBytes(report), "edited since");
    EXPECT_EQ(ReadBytes(m_folder / "report (2).txt"), "content");
    EXPECT_THAT(NamesIn(m_folder),
                UnorderedElementsAre("report.txt", "report.txt.p7", "report (2).txt"));
    const std::string second = Text(m_folder / "report (2).txt");
    EXPECT_THAT(m_opened, ElementsAre(Text(report), second, second));
}

TEST_F(Worker, GoesOnAfterAFileThatFails) {
    const auto good = m_folder.Write("good.txt", "good");
    const auto noise = m_folder.Write("noise.p7", "no PKCS#7 at all");
    EXPECT_EQ(Work(CPKCS7_TYPE::SIGN, {m_folder / "gone.txt", good}), 1u);
    EXPECT_EQ(Work(CPKCS7_TYPE::RECOVER, {noise, m_folder / "gone.p7", m_folder / "good.txt.p7"}),
              2u);
    EXPECT_THAT(NamesIn(m_folder), UnorderedElementsAre("good.txt", "good.txt.p7", "noise.p7"));
    EXPECT_THAT(m_log, HasSubstr("] 1/2 FAILED "));
    EXPECT_THAT(m_log, HasSubstr("CANNOT_OPEN_FILE"));
    EXPECT_THAT(m_log, HasSubstr("ERROR_OPENSSL,ERROR_RECOVER"));
}

TEST_F(Worker, WritesButNeverOpensWhatDoesNotMatchItsSignature) {
    const auto letter = m_folder.Write("letter.txt", "pay 100 to Anna");
    ASSERT_EQ(Work(CPKCS7_TYPE::SIGN, {letter}), 0u);
    std::string forged = ReadBytes(m_folder / "letter.txt.p7");
    forged.replace(forged.find("100"), 3, "999");
    m_folder.Write("letter.txt.p7", forged);
    EXPECT_EQ(Work(CPKCS7_TYPE::RECOVER, {m_folder / "letter.txt.p7"}), 0u);
    EXPECT_EQ(ReadBytes(m_folder / "letter (2).txt"), "pay 999 to Anna");
    EXPECT_THAT(m_opened, IsEmpty());
    EXPECT_THAT(m_log, HasSubstr("0 of 1 signatures match"));
    EXPECT_THAT(m_log, HasSubstr("WARNING not opened"));
}

TEST_F(Worker, WritesButNeverOpensPrograms) {
    const auto program = m_folder.Write("setup.exe", "MZ");
    ASSERT_EQ(Work(CPKCS7_TYPE::ENCRYPT, {program}), 0u);
    EXPECT_EQ(Work(CPKCS7_TYPE::RECOVER, {m_folder / "setup.exe.p7"}), 0u);
    EXPECT_THAT(m_opened, IsEmpty());
    EXPECT_THAT(m_log, HasSubstr("because it is a program"));
}

TEST_F(Worker, DoesNotWriteWhatDoesNotDecrypt) {
    const auto plain = m_folder.Write("plain.txt", std::string(1000, 'x'));
    ASSERT_EQ(Work(CPKCS7_TYPE::ENCRYPT, {plain}), 0u);
    std::filesystem::remove(plain);
    // The last cipher block is the end of the file: damaged, its padding is wrong (but for one
    // chance in 256, which this position does not hit every time it is tried).
    const std::string whole = ReadBytes(m_folder / "plain.txt.p7");
    std::size_t failed = 0;
    for (char change = 1; change < 6; ++change) {
        std::string damaged = whole;
        damaged.back() = static_cast<char>(damaged.back() ^ change);
        m_folder.Write("plain.txt.p7", damaged);
        failed += Work(CPKCS7_TYPE::RECOVER, {m_folder / "plain.txt.p7"});
        std::filesystem::remove(plain);
    }
    EXPECT_GE(failed, 4u) << m_log;

    CPKCS7Build build(CPKCS7_TYPE::ENCRYPT);
    build.AddRecipient(Me().ca.Get());
    m_folder.Write("in", "for somebody else");
    const auto foreign = m_folder / "foreign.txt.p7";
    ASSERT_EQ(build.Build(test::Utf16(m_folder / "in"), test::Utf16(foreign)), CPKCS7_ERROR::NONE);
    EXPECT_EQ(Work(CPKCS7_TYPE::RECOVER, {foreign}), 1u);
    EXPECT_FALSE(std::filesystem::exists(m_folder / "foreign.txt"));
}

TEST_F(Worker, LeavesNothingBehindWhereAFileCannotBePutInPlace) {
    class Stuck : public CFiles {
        Move MoveNew(const std::u16string&, const std::u16string&) override {
            return Move::kFailed;
        }
    } stuck;
    m_files = &stuck;
    const auto plain = m_folder.Write("plain.txt", "x");
    EXPECT_EQ(Work(CPKCS7_TYPE::SIGN, {plain}), 1u);
    EXPECT_THAT(NamesIn(m_folder), ElementsAre("plain.txt"));
}

TEST_F(Worker, SaysWhereTheContentIsWhenNoProgramOpensIt) {
    const auto plain = m_folder.Write("plain.odd", "x");
    ASSERT_EQ(Work(CPKCS7_TYPE::SIGN, {plain}), 0u);
    m_opens = false;
    EXPECT_EQ(Work(CPKCS7_TYPE::RECOVER, {m_folder / "plain.odd.p7"}), 1u);
    EXPECT_THAT(m_log, HasSubstr("but no program opens it"));
}

}  // namespace
}  // namespace tarnwell::manager
