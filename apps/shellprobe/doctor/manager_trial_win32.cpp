#include "shellprobe/doctor/manager_trial.h"

#include <string_view>

#include "common/system/net/http_head.h"
#include "common/system/net/http_request.h"
#include "common/system/net/socket.h"
#include "common/system/net/socket_error_text.h"
#include "common/system/os/child_process_win32.h"
#include "common/system/text/exception.h"

namespace tarnwell::shellprobe {
namespace {

using Clock = std::chrono::steady_clock;

constexpr DWORD kMostPortBytes = 10;
constexpr std::size_t kLongestStatusLine = 4096;

/// The manager has no such page. HTTP/1.0 and the extension's origin, as its other requests.
std::string Request() {
    return std::string("GET /dyn/doctor HTTP/1.0\r\nUser-Agent: ZELSS\r\nOrigin: ") + kOrigin +
           "\r\nHost: 127.0.0.1\r\n\r\n";
}

[[noreturn]] void FailSocket(const char* what) {
    throw CException(CISOString(what) + ": " + SocketErrorText(LastSocketError()));
}

std::chrono::milliseconds Until(Clock::time_point end) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    return std::max(left, std::chrono::milliseconds(0));
}

}  // namespace

CManagerTrial::CManagerTrial(const CUTF16String& commandLine) {
    SECURITY_ATTRIBUTES attributes{sizeof attributes, nullptr, TRUE};
    CUniqueHandle writeEnd;
    if (CreatePipe(m_output.Put(), writeEnd.Put(), &attributes, 0))
        m_process = StartWithOutput(commandLine, writeEnd.Get());
    m_error = GetLastError();
}

std::optional<std::string> CManagerTrial::ReadPort(std::chrono::milliseconds time) {
    const Clock::time_point end = Clock::now() + time;
    DWORD waiting = 0;
    // An anonymous pipe cannot be waited for.
    while (PeekNamedPipe(m_output.Get(), nullptr, 0, nullptr, &waiting, nullptr)) {
        char bytes[kMostPortBytes];
        DWORD count = 0;
        if (waiting > 0 && ReadFile(m_output.Get(), bytes, sizeof bytes, &count, nullptr))
            return std::string(bytes, count);
        if (Clock::now() >= end)
            return std::nullopt;
        Sleep(20);
    }
    return std::string();
}

void CManagerTrial::End() noexcept {
    TerminateProcess(m_process.Get(), 1);
}

std::uint32_t AskManager(std::uint16_t port, std::chrono::milliseconds time) {
    const Clock::time_point end = Clock::now() + time;
    const std::string request = Request();
    StartSockets();
    const CUniqueSocket socket(OpenSocket());
    if (!socket || !ConnectSocket(socket.Get(), {htonl(INADDR_LOOPBACK), port}))
        FailSocket("it takes no connection");
    if (SendSocket(socket.Get(), request.data(), static_cast<std::uint32_t>(request.size())) < 0)
        FailSocket("it takes no request");
    std::string answer;
    while (answer.find('\n') == std::string::npos && answer.size() < kLongestStatusLine) {
        char bytes[512];
        if (!WaitReadable(socket.Get(), Until(end)))
            FailSocket("it does not answer");
        const int count = ReceiveSocket(socket.Get(), bytes, sizeof bytes);
        if (count < 0)
            FailSocket("its answer cannot be read");
        if (count == 0)
            break;
        answer.append(bytes, static_cast<std::size_t>(count));
    }
    const std::string_view line = std::string_view(answer).substr(0, answer.find("\r\n"));
    const std::optional<CStatusLine> status = ParseStatusLine(line);
    if (!status)
        throw CException("its answer is not HTTP");
    return status->code;
}

}  // namespace tarnwell::shellprobe
