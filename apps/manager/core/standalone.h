#pragma once

// Standalone mode from the first line of the log to the exit status: listens, tells the port, takes
// one request, answers it and does the work. Runs on the calling thread.

#include <cstdint>
#include <functional>

#include "manager/core/files.h"
#include "manager/core/log.h"
#include "manager/core/options.h"
#include "manager/core/worker.h"

namespace tarnwell::manager {

/// The program's exit status, as the help text lists it.
enum class ExitStatus {
    kDone = 0,
    kSomeFailed = 1,
    kWrongCommandLine = 2,
    kRefused = 3,
    kNoRequest = 4,
    kFailed = 5,
};

/// Hands the port to whoever started the manager; false if nobody can be told.
using Announcer = std::function<bool(std::uint16_t port)>;

/// RunStandalone keeps to `options.home` and `options.idle`; the other options are the caller's
/// (the log's sink, whether there is an opener). Never throws: what goes wrong is in the log.
ExitStatus RunStandalone(const Options& options, const Announcer& announce, CFiles& files,
                         const CLog& log, const Opener& opener) noexcept;

}  // namespace tarnwell::manager
