#include "common/system/net/http_response.h"

#include <algorithm>
#include <limits>

#include "common/system/net/http_head.h"
#include "common/system/text/convert.h"

namespace tarnwell {
namespace {

/// What a server can make a reader set aside by announcing it alone.
constexpr std::size_t kMostReserved = std::size_t{128} << 20;

/// LengthHint is the length that the server announces, within bounds, 0 without one. Only a hint:
/// the body is what comes, but growing to it step by step would cost as much as receiving it.
std::size_t LengthHint(const std::vector<CHttpResponse::Header>& headers) noexcept {
    for (const auto& [name, value] : headers)
        if (name == "Content-Length")
            return std::min<std::size_t>(ParseUnsigned(value).value_or(0), kMostReserved);
    return 0;
}

}  // namespace

std::unique_ptr<CHttpResponse> CHttpResponse::Read(std::unique_ptr<CHttpConnection>& connection) {
    std::size_t budget = kMaxHeadBytes;
    const CISOString first = connection->ReadLine(budget);
    const auto status = ParseStatusLine(first);
    if (!status)
        throw CHttpException("Bad HTTP response");

    std::unique_ptr<CHttpResponse> response(new CHttpResponse);
    response->m_statusCode = status->code;
    response->m_reason = CISOString(status->reason);
    response->m_connection = std::move(connection);
    // The end of the stream reads as an empty line and ends the head too.
    for (;;) {
        const CISOString line = response->m_connection->ReadLine(budget);
        if (line.IsEmpty())
            return response;
        const auto header = ParseHeaderLine(line);
        if (!header)
            throw CHttpException("Bad HTTP response");
        response->m_headers.emplace_back(CISOString(header->name), CISOString(header->value));
    }
}

CHttpResponse::~CHttpResponse() {
    // Last come, first gone: the other way round, each text of a head that a peer made long would
    // search a list of all the gaps in secure memory that its lines have left, to the list's end.
    while (!m_headers.empty())
        m_headers.pop_back();
}

const ByteArray& CHttpResponse::ReadAll() {
    return ReadAtLeast(std::numeric_limits<std::size_t>::max());
}

const ByteArray& CHttpResponse::ReadAtLeast(std::size_t count) {
    if (!m_body.empty())
        return m_body;
    m_body.reserve(std::min(count, LengthHint(m_headers)));
    ByteArray chunk;
    while (m_body.size() < count && m_connection->ReceiveChunk(chunk))
        m_body.insert(m_body.end(), chunk.begin(), chunk.end());
    return m_body;
}

}  // namespace tarnwell
