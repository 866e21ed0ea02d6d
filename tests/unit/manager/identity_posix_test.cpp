#include <gmock/gmock.h>

#include "common/system/text/exception.h"
#include "manager/core/identity_store.h"
#include "support/temp_folder.h"

namespace tarnwell::manager {
namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

TEST(IdentityStore, MakesACaAndASignerOnceAndReadsThemAfterwards) {
    const test::CTempFolder folder;
    CFiles files;
    std::string said;
    const CLog log(1, [&](std::string_view line) { said += line; });
    const auto open = [&](const char* home) {
        return OpenIdentity(std::u16string(test::Utf16(folder / home).AsView()), files, log);
    };
    const Identity me = open("a/b");
    EXPECT_THAT(said, HasSubstr("trust store was not touched"));
    EXPECT_EQ(std::filesystem::status(folder / "a/b/demo-identity").permissions(),
              std::filesystem::perms::owner_all);
    said.clear();
    EXPECT_EQ(X509_cmp(open("a/b").signer.Get(), me.signer.Get()), 0);
    EXPECT_EQ(said, "");

    // The key is good, but it is not the signer's.
    const std::string other = test::ReadBytes(folder / "a/b/demo-identity/ca.key.pem");
    folder.Write("a/b/demo-identity/signer.key.pem", other);
    EXPECT_THAT([&] { open("a/b"); },
                ThrowsMessage<CException>(HasSubstr("Delete that folder to have a new one made")));
    EXPECT_THROW(open("a/b/demo-identity/ca.pem"), CException) << "a file is in the way";
}

}  // namespace
}  // namespace tarnwell::manager
