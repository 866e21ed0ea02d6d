#include "shellprobe/box_answerer.h"

#include <gtest/gtest.h>

namespace tarnwell::shellprobe {
namespace {

using namespace std::chrono_literals;

TEST(BoxAnswerer, AnswersEveryBoxAndKeepsItsWords) {
    CBoxAnswerer answerer(0ms);
    EXPECT_EQ(MessageBoxW(nullptr, L"first text", L"first, \u00e9", MB_OK | MB_ICONINFORMATION),
              IDOK);
    EXPECT_EQ(MessageBoxW(nullptr, L"", L"second", MB_OK), IDOK);
    const std::vector<MessageBoxText> boxes = answerer.Finish();
    ASSERT_EQ(boxes.size(), 2U);
    EXPECT_EQ(boxes[0].title, L"first, \u00e9");
    EXPECT_EQ(boxes[0].text, L"first text");
    EXPECT_EQ(boxes[1].title, L"second");
}

TEST(BoxAnswerer, LeavesABoxOnTheScreenForAsLongAsItWasTold) {
    CBoxAnswerer answerer(300ms);
    const auto start = std::chrono::steady_clock::now();
    MessageBoxW(nullptr, L"text", L"title", MB_OK);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 300ms);
    EXPECT_EQ(answerer.Finish().size(), 1U);
}

}  // namespace
}  // namespace tarnwell::shellprobe
