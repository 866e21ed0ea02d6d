#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>

#include "common/system/net/http_request.h"
#include "common/system/net/loopback_listener.h"
#include "scripted_connection.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;
using test::MessageOf;

std::ptrdiff_t OpenDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

TEST(Socket, StaysOutOfStartedPrograms) {
    CLoopbackListener listener;
    CHttpConnection client;
    client.Connect(CHttpUrl::Parse("http://127.0.0.1:" + std::to_string(listener.Port()) + "/"));
    const auto accepted = listener.Accept(20s);
    // Listener, client and accepted socket are the three sockets of this process.
    int sockets = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;  // the iterator's own descriptor
        if (!std::filesystem::read_symlink(entry, gone).string().starts_with("socket:"))
            continue;
        const int descriptor = std::stoi(entry.path().filename().string());
        if (descriptor > 2) {
            ++sockets;
            EXPECT_TRUE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC);
        }
    }
    EXPECT_GE(sockets, 3);
}

TEST(Socket, ThatCannotBeMadeFailsToConnectAndToListen) {
    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &old), 0);
    const rlimit none{0, old.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    CHttpConnection client;
    const std::string message =
        MessageOf([&] { client.Connect(CHttpUrl::Parse("http://127.0.0.1:1/")); });
    const std::string listening = MessageOf([] { const CLoopbackListener listener; });
    setrlimit(RLIMIT_NOFILE, &old);
    EXPECT_EQ(listening, "Unable to listen: Too many open sockets");
    EXPECT_EQ(message, "Connection failed: Socket operation on non-socket");
}

TEST(Socket, IsGivenBackOnEveryFailure) {
    CHttpConnectionFactory factory;
    CLoopbackListener listener;
    const CISOString silent =
        CISOString("http://127.0.0.1:") + std::to_string(listener.Port()).c_str();
    const auto before = OpenDescriptors();
    for (int round = 0; round < 100; ++round) {
        EXPECT_THROW(Get(factory, "http://127.0.0.1:1/", true), CHttpException);
        std::jthread server([&] { listener.Accept(20s); });
        EXPECT_THROW(Get(factory, silent, true), CHttpException);
    }
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST(Socket, SurvivesSignalsWhileItWaits) {
    struct sigaction quiet {};
    struct sigaction old {};
    quiet.sa_handler = [](int) {};
    ASSERT_EQ(sigaction(SIGUSR1, &quiet, &old), 0);  // without SA_RESTART

    CLoopbackListener listener;
    CHttpConnection client;
    client.Connect(CHttpUrl::Parse("http://127.0.0.1:" + std::to_string(listener.Port()) + "/"));
    auto server = listener.Accept(20s);
    ASSERT_NE(server, nullptr);
    const pthread_t reader = pthread_self();
    std::jthread nuisance([&] {
        for (int i = 0; i < 20; ++i) {
            std::this_thread::sleep_for(2ms);
            pthread_kill(reader, SIGUSR1);
        }
        client.SendLine("at last");
    });
    EXPECT_EQ(server->ReadLine(), "at last");
    nuisance.join();

    std::jthread again([&] {
        for (int i = 0; i < 20; ++i) {
            std::this_thread::sleep_for(2ms);
            pthread_kill(reader, SIGUSR1);
        }
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(listener.Accept(100ms), nullptr);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 100ms);
    again.join();
    sigaction(SIGUSR1, &old, nullptr);
}

}  // namespace
}  // namespace tarnwell
