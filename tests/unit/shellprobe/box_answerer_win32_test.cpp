#include "shellprobe/box_answerer.h"

#include <gtest/gtest.h>

namespace tarnwell::shellprobe {
namespace {

TEST(BoxAnswerer, AnswersEveryBoxInItsTimeAndKeepsItsWords) {
    constexpr std::chrono::milliseconds kPatience(150);
    CBoxAnswerer answerer(kPatience);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(MessageBoxW(nullptr, L"text", L"first, \u00e9", MB_OK | MB_ICONINFORMATION), IDOK);
    EXPECT_EQ(MessageBoxW(nullptr, L"", L"second", MB_OK), IDOK);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 2 * kPatience);
    const std::vector<MessageBoxText> boxes = answerer.Finish();
    ASSERT_EQ(boxes.size(), 2U);
    EXPECT_EQ(boxes[0].title, L"first, \u00e9");
    EXPECT_EQ(boxes[0].text, L"text");
    EXPECT_EQ(boxes[1].title, L"second");
}

}  // namespace
}  // namespace tarnwell::shellprobe
