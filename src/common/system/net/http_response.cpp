#include "common/system/net/http_response.h"

#include <limits>

#include "common/system/net/http_head.h"

namespace tarnwell {

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

const ByteArray& CHttpResponse::ReadAll() {
    return ReadAtLeast(std::numeric_limits<std::size_t>::max());
}

const ByteArray& CHttpResponse::ReadAtLeast(std::size_t count) {
    if (!m_body.empty())
        return m_body;
    ByteArray chunk;
    while (m_body.size() < count && m_connection->ReceiveChunk(chunk))
        m_body.insert(m_body.end(), chunk.begin(), chunk.end());
    return m_body;
}

}  // namespace tarnwell
