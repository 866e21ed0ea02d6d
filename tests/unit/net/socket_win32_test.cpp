#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

#include "common/system/net/http_request.h"
#include "common/system/net/loopback_listener.h"
#include "common/system/os/windows.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

/// What becomes of a handle that this process could hold.
template <class Visit>
void VisitSockets(Visit visit) {
    // Kernel handles are small multiples of four.
    for (std::uintptr_t value = 4; value < 0x4000; value += 4) {
        const auto handle = reinterpret_cast<HANDLE>(value);  // NOLINT: a number is all there is
        int type = 0;
        int length = sizeof type;
        if (getsockopt(value, SOL_SOCKET, SO_TYPE, reinterpret_cast<char*>(&type), &length) == 0)
            visit(handle);
    }
}

int OpenSockets() {
    int count = 0;
    VisitSockets([&](HANDLE) { ++count; });
    return count;
}

TEST(Socket, StaysOutOfStartedPrograms) {
    CLoopbackListener listener;
    CHttpConnection client;
    client.Connect(CHttpUrl::Parse("http://127.0.0.1:" + std::to_string(listener.Port()) + "/"));
    const auto accepted = listener.Accept(20s);
    ASSERT_NE(accepted, nullptr);
    VisitSockets([](HANDLE socket) {
        DWORD flags = HANDLE_FLAG_INHERIT;
        EXPECT_TRUE(GetHandleInformation(socket, &flags));
        EXPECT_EQ(flags & HANDLE_FLAG_INHERIT, 0u);
    });
    EXPECT_EQ(OpenSockets(), 3) << "the listener, the client's and the accepted one";
}

TEST(Socket, IsGivenBackOnEveryFailure) {
    CHttpConnectionFactory factory;
    CLoopbackListener listener;
    const CISOString closing =
        CISOString("http://127.0.0.1:") + std::to_string(listener.Port()).c_str();
    const int before = OpenSockets();
    for (int round = 0; round < 50; ++round) {
        EXPECT_THROW(Get(factory, "http://127.0.0.1:1/", true), CHttpException);
        std::jthread server([&] { listener.Accept(20s); });
        EXPECT_THROW(Get(factory, closing, true), CHttpException);
    }
    EXPECT_EQ(OpenSockets(), before);
}

}  // namespace
}  // namespace tarnwell
