#include "common/system/net/socket.h"

#include <gtest/gtest.h>

#include "common/system/os/windows.h"

namespace tarnwell {

TEST(Socket, StaysOutOfStartedPrograms) {
    StartSockets();
    const CUniqueSocket socket(OpenSocket());
    DWORD flags = HANDLE_FLAG_INHERIT;
    EXPECT_TRUE(GetHandleInformation(reinterpret_cast<HANDLE>(socket.Get()), &flags));
    EXPECT_EQ(flags & HANDLE_FLAG_INHERIT, 0u);
}

}  // namespace tarnwell
