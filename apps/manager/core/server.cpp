#include "manager/core/server.h"

#include <algorithm>

#include "common/system/net/http_request.h"
#include "common/system/net/http_server.h"
#include "manager/core/head_reader.h"
#include "manager/core/response.h"

namespace tarnwell::manager {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kReceiveTime = 5s;
constexpr milliseconds kDrainTime = 300ms;

enum class Reading { kComplete, kSilent, kCut, kTooSlow, kTooLarge };

/// Receives until the head is there, or says what came instead of it.
Reading ReadHead(CHttpConnection& connection, CHeadReader& reader) {
    ByteArray chunk;
    try {
        while (connection.ReceiveChunk(chunk)) {
            switch (reader.Feed({reinterpret_cast<const char*>(chunk.data()), chunk.size()})) {
                case CHeadReader::State::kComplete:
                    return Reading::kComplete;
                case CHeadReader::State::kTooLarge:
                    return Reading::kTooLarge;
                case CHeadReader::State::kReading:
                    break;
            }
        }
    } catch (const CHttpException&) {
        return reader.IsEmpty() ? Reading::kSilent : Reading::kTooSlow;
    }
    return reader.IsEmpty() ? Reading::kSilent : Reading::kCut;
}

Judgement Judge(Reading reading, const CHeadReader& reader, std::uint16_t port) {
    switch (reading) {
        case Reading::kComplete:
            return JudgeRequest(reader.Head(), port, kOrigin);
        case Reading::kTooLarge:
            return Refusal{431, "The request is larger than 16 MiB."};
        case Reading::kTooSlow:
            return Refusal{408, "The request did not come in time."};
        default:
            return Refusal{400, "The request ends before its empty line."};
    }
}

}  // namespace

std::optional<Exchange> AwaitRequest(CLoopbackListener& listener, milliseconds idle,
                                     const CLog& log) {
    const Clock::time_point end = Clock::now() + idle;
    for (;;) {
        const auto left = std::chrono::duration_cast<milliseconds>(end - Clock::now());
        if (left <= 0ms)
            return std::nullopt;
        std::unique_ptr<CHttpConnection> connection = listener.Accept(left);
        if (!connection)
            return std::nullopt;
        connection->SetReceiveDeadline(std::min(left, kReceiveTime));
        CHeadReader reader;
        const Reading reading = ReadHead(*connection, reader);
        if (reading != Reading::kSilent)
            return Exchange{std::move(connection), Judge(reading, reader, listener.Port())};
        log.Line("somebody connected and sent nothing");
    }
}

void Accept(Exchange& exchange, std::string_view text) {
    exchange.connection->SetAllowedOrigin(kOrigin);
    WriteResponse(*exchange.connection, "text/plain; charset=utf-8", text);
}

void Refuse(Exchange& exchange, const Refusal& refusal, const CLog& log) {
    log.Line("refused with status " + std::to_string(refusal.status) + ": " + refusal.why);
    try {
        exchange.connection->SendAll(RefusalResponse(refusal));
        // Closing while the client still sends would reset the connection, and the client might
        // never see the answer.
        exchange.connection->SetReceiveDeadline(kDrainTime);
        ByteArray ignored;
        while (exchange.connection->ReceiveChunk(ignored)) {
        }
    } catch (const CHttpException&) {
        // Gone, or still sending: it has had its answer.
    }
}

}  // namespace tarnwell::manager
