// A manager for tests: put into an install layout as Corvane.exe, it behaves as the environment
// variable FAKE_MANAGER says and ends. FAKE_MANAGER_LOG names a file for the request it was sent.

#include <winsock2.h>
// Windows' sockets come before its other headers.
#include <windows.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace {

/// Listen opens a loopback port of the system's choice and gives its digits.
std::string Listen(SOCKET& listener) {
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
    listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int length = sizeof address;
    if (bind(listener, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        listen(listener, 1) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        std::exit(2);
    return std::to_string(ntohs(address.sin_port));
}

void Write(std::string_view text) {
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text.data(), static_cast<DWORD>(text.size()),
              &written, nullptr);
}

/// Answer takes one request, keeps it for the test, and sends `bytes`.
void Answer(SOCKET listener, std::string_view bytes) {
    const SOCKET peer = accept(listener, nullptr, nullptr);
    std::string request;
    while (!request.ends_with("\r\n\r\n")) {
        char buffer[65536];
        const int count = recv(peer, buffer, sizeof buffer, 0);
        if (count <= 0)
            std::exit(3);
        request.append(buffer, static_cast<std::size_t>(count));
    }
    if (const wchar_t* log = _wgetenv(L"FAKE_MANAGER_LOG"))
        std::ofstream(std::filesystem::path(log), std::ios::binary) << request;
    send(peer, bytes.data(), static_cast<int>(bytes.size()), 0);
    closesocket(peer);
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
    SOCKET listener = INVALID_SOCKET;
    const std::string port = Listen(listener);
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
        closesocket(listener);  // the port is free again before anybody learns of it
        Write(port);
    } else {
        Write(port);
        Answer(listener, behaviour == "nonsense"     ? "\x16\x03\x01\x02 what?\n\n"
                         : behaviour == "status 500" ? "HTTP/1.0 500 Internal Server Error\r\n\r\n"
                                                     : "HTTP/1.0 200 OK\r\nServer: fake\r\n\r\n");
        if (behaviour == "stays")
            Sleep(3000);
    }
    return 0;
}
