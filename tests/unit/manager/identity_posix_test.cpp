#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/x509v3.h>

#include "common/system/text/exception.h"
#include "manager/core/identity_store.h"
#include "shared_identity.h"
#include "support/temp_folder.h"

namespace tarnwell::manager {
namespace {

using test::CTempFolder;
using test::ReadBytes;
using testing::HasSubstr;

TEST(Identity, IsACaAndASignerThatOtherToolsAccept) {
    const Identity me = ReadIdentity(SharedPem());
    X509* ca = me.ca.Get();
    X509* signer = me.signer.Get();
    EXPECT_EQ(X509_check_ca(ca), 1);
    EXPECT_EQ(X509_check_ca(signer), 0);
    EXPECT_EQ(X509_get_pathlen(ca), 0);
    EXPECT_EQ(X509_check_issued(ca, signer), X509_V_OK);
    EXPECT_EQ(X509_verify(signer, X509_get0_pubkey(ca)), 1);
    EXPECT_EQ(X509_verify(ca, X509_get0_pubkey(ca)), 1);
    EXPECT_EQ(X509_get_key_usage(signer), KU_DIGITAL_SIGNATURE | KU_KEY_ENCIPHERMENT);
    EXPECT_EQ(X509_get_key_usage(ca), KU_KEY_CERT_SIGN | KU_CRL_SIGN);
    EXPECT_EQ(X509_check_purpose(signer, X509_PURPOSE_SMIME_SIGN, 0), 1);
    EXPECT_EQ(X509_check_purpose(signer, X509_PURPOSE_SMIME_ENCRYPT, 0), 1);
    EXPECT_EQ(X509_get_signature_nid(signer), NID_sha256WithRSAEncryption);
    EXPECT_EQ(EVP_PKEY_get_bits(me.key.Get()), 3072);
    EXPECT_NE(ASN1_INTEGER_cmp(X509_get0_serialNumber(ca), X509_get0_serialNumber(signer)), 0);
    EXPECT_FALSE(IsExpired(me));
}

/// The store's tests: each makes an identity or two of its own.
class IdentityStore : public testing::Test {
protected:
    Identity Open(CFiles& files) {
        return OpenIdentity(m_home, files,
                            CLog(1, [this](std::string_view line) { m_log += line; }));
    }

    CTempFolder m_folder;
    std::u16string m_home{test::Utf16(m_folder / "a/b").AsView()};
    std::string m_log;
};

TEST_F(IdentityStore, MakesTheIdentityOnceAndReadsItAfterwards) {
    CFiles files;
    const Identity first = Open(files);
    EXPECT_THAT(m_log, HasSubstr("the demo identity is ready"));
    EXPECT_THAT(m_log, HasSubstr("trust store was not touched"));
    m_log.clear();
    const Identity second = Open(files);
    EXPECT_EQ(X509_cmp(first.signer.Get(), second.signer.Get()), 0);
    EXPECT_EQ(m_log, "");
}

TEST_F(IdentityStore, UsesTheOneThatAnotherManagerMadeInTheMeantime) {
    /// The other manager finishes just before this one.
    class Race : public CFiles {
    public:
        explicit Race(const std::u16string& home) : m_home(home) {}
        Move MoveNew(const std::u16string& from, const std::u16string& to) override {
            CFiles files;
            m_other = OpenIdentity(m_home, files, CLog(2, [](std::string_view) {}));
            return CFiles::MoveNew(from, to);
        }
        Identity m_other;

    private:
        std::u16string m_home;
    } race(m_home);
    const Identity mine = Open(race);
    ASSERT_TRUE(race.m_other.signer);
    EXPECT_EQ(X509_cmp(mine.signer.Get(), race.m_other.signer.Get()), 0);
    EXPECT_THAT(m_log, HasSubstr("another manager made one"));
    std::size_t entries = 0;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder / "a/b"))
        entries += entry.path().filename() == "demo-identity" ? 1 : 100;
    EXPECT_EQ(entries, 1u);
}

TEST_F(IdentityStore, SaysWhatToDoWithADamagedIdentity) {
    CFiles files;
    Open(files);
    for (const char* damage : {"ca.pem", "signer.key.pem", "signer.pem"}) {
        m_folder.Write(std::string("a/b/demo-identity/") + damage, "-----BEGIN NOTHING-----");
        try {
            Open(files);
            FAIL() << damage;
        } catch (const CException& problem) {
            EXPECT_THAT(problem.what(), HasSubstr("Delete that folder to have a new one made"));
        }
    }
}

TEST_F(IdentityStore, FailsWhereAFileIsInTheWay) {
    m_folder.Write("a", "a file");
    CFiles files;
    EXPECT_THROW(Open(files), CException);
    EXPECT_EQ(ReadBytes(m_folder / "a"), "a file");
}

}  // namespace
}  // namespace tarnwell::manager
