#include "manager/core/standalone.h"

#include <exception>
#include <optional>
#include <string>
#include <variant>

#include "common/crypto/pkcs7_error.h"
#include "common/system/text/convert.h"
#include "manager/core/file_list.h"
#include "manager/core/identity_store.h"
#include "manager/core/server.h"

namespace tarnwell::manager {
namespace {

/// A list of many missing files is cut in the answer; the log has all.
constexpr std::size_t kMaxNamed = 3;

Refusal Unresolved(const FileList& list, const CLog& log) {
    std::string why = "Nothing was done: these are no existing files:";
    for (std::size_t i = 0; i < list.unresolved.size(); ++i) {
        const std::string path = Utf8(list.unresolved[i]);
        log.Line("no existing file: " + path);
        if (i < kMaxNamed)
            why.append(i == 0 ? " \"" : ", \"").append(path).append("\"");
    }
    if (list.unresolved.size() > kMaxNamed)
        why += " and " + std::to_string(list.unresolved.size() - kMaxNamed) + " more";
    return Refusal{422, why + "."};
}

std::string Count(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " file" : " files");
}

/// The identity, or nothing and the reason in `problem`.
std::optional<Identity> TryIdentity(const std::u16string& home, CFiles& files, const CLog& log,
                                    std::string& problem) try {
    return OpenIdentity(home, files, log);
} catch (const std::exception& exception) {
    problem = exception.what();
    return std::nullopt;
}

ExitStatus Serve(CLoopbackListener& listener, const Options& options, CFiles& files,
                 const CLog& log, const Opener& opener) {
    // The request of whoever reads the port now waits in the queue while the keys are made.
    std::string problem;
    const std::optional<Identity> identity = TryIdentity(options.home, files, log, problem);

    std::optional<Exchange> exchange = AwaitRequest(listener, options.idle, log);
    if (!exchange) {
        log.Line("no request came within " + std::to_string(options.idle.count()) + " s");
        return ExitStatus::kNoRequest;
    }
    if (const Refusal* refusal = std::get_if<Refusal>(&exchange->judgement)) {
        Refuse(*exchange, *refusal, log);
        return ExitStatus::kRefused;
    }
    const Command& command = std::get<Command>(exchange->judgement);
    const std::string action(TypeName(command.action).AsView());
    if (!identity) {
        Refuse(*exchange, Refusal{500, problem}, log);
        return ExitStatus::kFailed;
    }
    const std::u16string joined(Utf16FromUtf8(command.files).AsView());
    const FileList list = ResolveFileList(
        joined, [&files](const std::u16string& path) { return files.IsFile(path); });
    if (!list.unresolved.empty()) {
        Refuse(*exchange, Unresolved(list, log), log);
        return ExitStatus::kRefused;
    }
    log.Line("request: " + action + ", " + Count(list.files.size()));
    Accept(*exchange, action + ": " + Count(list.files.size()));
    exchange->connection.reset();  // explorer waits for this answer, not for the work

    const std::size_t failed =
        CWorker(*identity, files, log, opener).Work(command.action, list.files);
    log.Line(action + ": " + std::to_string(list.files.size() - failed) + " of " +
             Count(list.files.size()) + " done");
    return failed == 0 ? ExitStatus::kDone : ExitStatus::kSomeFailed;
}

}  // namespace

ExitStatus RunStandalone(const Options& options, const Announcer& announce, CFiles& files,
                         const CLog& log, const Opener& opener) noexcept {
    try {
        CLoopbackListener listener;
        const std::uint16_t port = listener.Port();
        log.Line("waiting for one request on 127.0.0.1:" + std::to_string(port));
        if (!announce(port)) {
            log.Line("standard output takes no port, so nobody can find this manager");
            return ExitStatus::kFailed;
        }
        return Serve(listener, options, files, log, opener);
    } catch (const std::exception& exception) {
        log.Line(std::string("stopped: ") + exception.what());
        return ExitStatus::kFailed;
    }
}

}  // namespace tarnwell::manager
