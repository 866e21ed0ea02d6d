// A manager for tests: put into an install layout as Corvane.exe, it behaves as the environment
// variable FAKE_MANAGER says and ends. FAKE_MANAGER_LOG names a file for the request it was sent.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "common/system/net/socket.h"
#include "common/system/os/windows.h"

using namespace tarnwell;

namespace {

void Write(std::string_view text) {
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text.data(), static_cast<DWORD>(text.size()),
              &written, nullptr);
}

/// Answer takes one request, keeps it for the test, and sends `bytes`.
void Answer(SocketHandle listener, std::string_view bytes) {
    const CUniqueSocket peer(AcceptSocket(listener));
    std::string request;
    while (!request.ends_with("\r\n\r\n")) {
        char buffer[65536];
        const int count = ReceiveSocket(peer.Get(), buffer, sizeof buffer);
        if (count <= 0)
            std::exit(3);
        request.append(buffer, static_cast<std::size_t>(count));
    }
    if (const wchar_t* log = _wgetenv(L"FAKE_MANAGER_LOG"))
        std::ofstream(std::filesystem::path(log), std::ios::binary) << request;
    SendSocket(peer.Get(), bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

}  // namespace

int main(int argc, char** argv) {
    const char* chosen = std::getenv("FAKE_MANAGER");
    if (argc != 2 || std::string_view(argv[1]) != "/standalone" || !chosen)
        return 4;
    const std::string_view behaviour = chosen;
    if (behaviour == "silent")
        return 0;
    if (behaviour == "writes nothing")
        Sleep(INFINITE);
    StartSockets();
    std::uint16_t number = 0;
    CUniqueSocket listener(ListenOnLoopback(number));
    const std::string port = std::to_string(number);
    if (behaviour == "two pieces") {
        Write(std::string_view(port).substr(0, port.size() - 1));
        Sleep(200);
        Write(std::string_view(port).substr(port.size() - 1));
    } else if (behaviour == "line end") {
        Write(port + "\r\n");
    } else if (behaviour == "twelve digits") {
        Write("999999999999");
    } else if (behaviour == "answers nothing") {
        Write(port);
        Sleep(INFINITE);
    } else if (behaviour == "gone") {
        listener.Reset();  // the port is free again before anybody learns of it
        Write(port);
    } else {
        Write(port);
        Answer(listener.Get(), behaviour == "nonsense" ? "\x16\x03\x01\x02 what?\n\n"
                               : behaviour == "status 500"
                                   ? "HTTP/1.0 500 Internal Server Error\r\n\r\n"
                                   : "HTTP/1.0 200 OK\r\nServer: fake\r\n\r\n");
        if (behaviour == "stays")
            Sleep(3000);
    }
    return 0;
}
