#pragma once

// The answer to a request: its head is read when the object comes into being, its body when
// somebody asks. Owned by the caller; it owns the connection it is read from and closes it.

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "common/system/net/http_connection.h"
#include "common/system/text/string.h"

namespace tarnwell {

class CHttpResponse {
public:
    using Header = std::pair<CISOString, CISOString>;

    static constexpr std::uint32_t kNoStatus = ~std::uint32_t{0};

    /// Read reads the status line and the headers and takes `connection` over as soon as the
    /// status line is good. The code is not judged and no header is interpreted. Throws
    /// CHttpException "Bad HTTP response" (a head beyond kMaxHeadBytes included) or "Unable to
    /// receive data: …"; the connection is then closed, or still the caller's if the status line
    /// was the fault.
    static std::unique_ptr<CHttpResponse> Read(std::unique_ptr<CHttpConnection>& connection);
    ~CHttpResponse();

    std::uint32_t StatusCode() const noexcept { return m_statusCode; }
    /// Reason is the text behind the code, possibly empty.
    const CISOString& Reason() const noexcept { return m_reason; }
    /// Headers in the order of their arrival, duplicates kept.
    const std::vector<Header>& Headers() const noexcept { return m_headers; }

    /// Body is what ReadAll or ReadAtLeast have read so far.
    const ByteArray& Body() const noexcept { return m_body; }
    /// ReadAll reads until the server closes the connection and returns the body; a body that
    /// already holds anything is returned as it is. No transfer coding is undone and no length is
    /// believed: one that the server announces only sets memory aside, 128 MiB at most. Throws
    /// CHttpException "Unable to receive data: …".
    const ByteArray& ReadAll();
    /// ReadAtLeast is ReadAll that stops as soon as the body holds `count` bytes or more.
    const ByteArray& ReadAtLeast(std::size_t count);

private:
    CHttpResponse() = default;

    std::uint32_t m_statusCode = kNoStatus;
    CISOString m_reason;
    std::vector<Header> m_headers;
    ByteArray m_body;
    std::unique_ptr<CHttpConnection> m_connection;
};

}  // namespace tarnwell
