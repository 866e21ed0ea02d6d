#include "tarnwell/win32/manager_request.h"

#include <exception>
#include <memory>

#include "common/system/net/http_request.h"
#include "common/system/os/child_process_win32.h"
#include "common/system/text/convert.h"
#include "common/system/trace/trace.h"
#include "tarnwell/core/manager_address.h"

namespace tarnwell {
namespace {

/// The manager writes its port as bare digits in one write of at most this many bytes.
constexpr DWORD kMaxPortBytes = 10;

/// A step of the hand-over that failed; the message is the whole line for the trace.
struct HandOverFailure {
    const char* message;
};

/// StartManager gives the end of the pipe from which the manager's standard output is read. All
/// other handles are closed by then: nobody waits for the manager, and when it exits without a
/// word the pipe ends.
CUniqueHandle StartManager(const ManagerSurroundings& surroundings) {
    CUniqueHandle readEnd, writeEnd;
    if (!surroundings.createPipe(readEnd, writeEnd))
        throw HandOverFailure{"pipe Creation failed."};
    SetHandleInformation(readEnd.Get(), HANDLE_FLAG_INHERIT, 0);

    const CUTF16String commandLine =
        ManagerCommandLine(surroundings.moduleDirectory(), ProgramFilesFolders::Fetch());
    TraceString("opening manager: %s", Latin1FromUtf16(commandLine).CStr());
    if (!StartWithOutput(commandLine, writeEnd.Get()))
        throw HandOverFailure{"Could not create a new process."};
    return readEnd;
}

/// ReadPort gives the bytes of one read, whatever they are. It waits as long as the manager does.
CISOString ReadPort(CUniqueHandle readEnd) {
    char bytes[kMaxPortBytes];
    DWORD count = 0;
    if (!ReadFile(readEnd.Get(), bytes, sizeof bytes, &count, nullptr))
        throw HandOverFailure{"Could not read pipe."};
    return CISOString(bytes, count);
}

void HandOver(ActionCode action, std::span<const CUTF16String> files,
              const ManagerSurroundings& surroundings) {
    const CISOString port = ReadPort(StartManager(surroundings));
    const CISOString address = RequestAddress(port, action, files);
    TraceString("Sending url to HTTPserver: %s", address.CStr());
    // Any well-formed answer means that the request was delivered; nothing of it is looked at.
    CHttpConnectionFactory factory;
    Get(factory, address, true);
}

}  // namespace

bool CreateManagerPipe(CUniqueHandle& readEnd, CUniqueHandle& writeEnd) noexcept {
    SECURITY_ATTRIBUTES attributes{sizeof attributes, nullptr, TRUE};
    return CreatePipe(readEnd.Put(), writeEnd.Put(), &attributes, 0);
}

ResultCode SendToServer(ActionCode action, std::span<const CUTF16String> files,
                        const ManagerSurroundings& surroundings) noexcept {
    const CTraceScope scope("SendToServer");
    constexpr const char* kRequestFailed = "Manager service request failed: %s";
    try {
        if (action == kActionOpen)
            return OpenSignedFile(files.empty() ? CUTF16String() : files.front(),
                                  surroundings.openFile);
        HandOver(action, files, surroundings);
        return kResultDone;
    } catch (const HandOverFailure& failure) {
        TraceString(failure.message);
    } catch (const std::exception& failure) {
        TraceString(kRequestFailed, failure.what());
    } catch (...) {
        TraceString(kRequestFailed, "unknown exception");
    }
    return kResultFailed;
}

}  // namespace tarnwell
