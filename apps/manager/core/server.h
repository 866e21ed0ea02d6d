#pragma once

// The manager's end of the loopback link: waits for one request, judges it, answers. Belongs to
// one thread.

#include <chrono>
#include <memory>
#include <optional>
#include <string_view>

#include "common/system/net/loopback_listener.h"
#include "manager/core/log.h"
#include "manager/core/request.h"

namespace tarnwell::manager {

/// A request and the connection to answer it on.
struct Exchange {
    std::unique_ptr<CHttpConnection> connection;
    Judgement judgement;
};

/// AwaitRequest gives the first request that comes within `idle`, nothing if none does. Clients
/// that connect and send nothing (port scanners, a browser's idle connections) do not count and
/// are dropped after 5 seconds, or when the time is over. Throws CHttpException.
std::optional<Exchange> AwaitRequest(CLoopbackListener& listener, std::chrono::milliseconds idle,
                                     const CLog& log);

/// Accept answers with status 200 and `text`. A client that is gone is fine: the extension closes
/// as soon as it has the head.
void Accept(Exchange& exchange, std::string_view text);

/// Refuse answers with the refusal and logs it; a client that is gone is fine.
void Refuse(Exchange& exchange, const Refusal& refusal, const CLog& log);

}  // namespace tarnwell::manager
