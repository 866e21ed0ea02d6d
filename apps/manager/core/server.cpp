#include "manager/core/server.h"

#include <algorithm>
#include <vector>

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
constexpr std::uint32_t kPiece = 64 * 1024;

enum class Reading { kComplete, kSilent, kCut, kTooSlow, kTooLarge };

/// Receives until the head is there, or says what came instead of it. In large pieces: a selection
/// of thousands of files is a request of megabytes.
Reading ReadHead(CHttpConnection& connection, CHeadReader& reader) {
    std::vector<char> piece(kPiece);
    for (;;) {
        const int got = connection.Receive(piece.data(), kPiece);
        if (got <= 0) {
            const Reading partial = got == 0 ? Reading::kCut : Reading::kTooSlow;
            return reader.IsEmpty() ? Reading::kSilent : partial;
        }
        switch (reader.Feed({piece.data(), static_cast<std::size_t>(got)})) {
            case CHeadReader::State::kComplete:
                return Reading::kComplete;
            case CHeadReader::State::kTooLarge:
                return Reading::kTooLarge;
            case CHeadReader::State::kReading:
                break;
        }
    }
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
    try {
        WriteResponse(*exchange.connection, "text/plain; charset=utf-8", text);
    } catch (const CHttpException&) {
        // The extension closes as soon as it has the head, often before the text is out. It counts
        // its request as delivered then, so the work must be done.
    }
}

void Refuse(Exchange& exchange, const Refusal& refusal, const CLog& log) {
    log.Line("refused with status " + std::to_string(refusal.status) + ": " + refusal.why);
    try {
        exchange.connection->SendAll(RefusalResponse(refusal));
        // Closing while the client still sends would reset the connection, and the client might
        // never see the answer.
        exchange.connection->SetReceiveDeadline(kDrainTime);
        std::vector<char> ignored(kPiece);
        while (exchange.connection->Receive(ignored.data(), kPiece) > 0) {
        }
    } catch (const CHttpException&) {
        // The client is gone and wants no answer.
    }
}

}  // namespace tarnwell::manager
