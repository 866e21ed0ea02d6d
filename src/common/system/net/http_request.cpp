#include "common/system/net/http_request.h"

#include "common/system/text/format.h"

namespace tarnwell {
namespace {

void SendRequestLine(CHttpConnection& connection, std::string_view method, const CHttpUrl& url) {
    connection.SendLine(CISOString(method) + " " + url.path + " HTTP/1.0");
}

void SendOrigin(CHttpConnection& connection, bool withOrigin) {
    connection.SendLine("User-Agent: ZELSS");
    if (withOrigin)
        connection.SendLine(CISOString("Origin: ") + kOrigin);
}

/// SendHost names the host alone: the manager's server does not expect the port there.
void SendHost(CHttpConnection& connection, const CHttpUrl& url) {
    connection.SendLine(CISOString("Host: ") + url.host);
}

void SendPost(CHttpConnection& connection, const CHttpUrl& url, std::string_view contentType,
              std::string_view body, bool withOrigin, bool keepAlive) {
    SendRequestLine(connection, "POST", url);
    SendOrigin(connection, withOrigin);
    SendHost(connection, url);
    if (keepAlive)
        connection.SendLine("Connection: keep-alive");
    connection.SendLine(CISOString("Content-Type: ") + contentType);
    connection.SendLine(CTFmtArgs<CISOEncoding>()
                            .Add(static_cast<std::uint64_t>(body.size()))
                            .Format("Content-Length: %1"));
    connection.SendLine("");
    connection.SendAll(body);
}

}  // namespace

std::unique_ptr<CHttpResponse> Get(CHttpConnectionFactory& factory, const CISOString& address,
                                   bool withOrigin) {
    const CHttpUrl url = CHttpUrl::Parse(address);
    auto connection = factory.Create(url);
    connection->Connect(url);
    SendRequestLine(*connection, "GET", url);
    SendOrigin(*connection, withOrigin);
    connection->SendLine("Accept: */*");
    SendHost(*connection, url);
    connection->SendLine("");
    return CHttpResponse::Read(connection);
}

std::unique_ptr<CHttpResponse> PostText(std::unique_ptr<CHttpConnection>& connection,
                                        const CHttpUrl& url, std::string_view body, bool withOrigin,
                                        bool keepAlive, bool noResponse) {
    if (!connection)
        return nullptr;
    SendPost(*connection, url, "text/plain", body, withOrigin, keepAlive);
    return noResponse ? nullptr : CHttpResponse::Read(connection);
}

std::unique_ptr<CHttpResponse> PostForm(CHttpConnectionFactory& factory, const CHttpUrl& url,
                                        std::string_view body, bool withOrigin) {
    auto connection = factory.Create(url);
    connection->Connect(url);
    return PostForm(connection, url, body, withOrigin);
}

std::unique_ptr<CHttpResponse> PostForm(std::unique_ptr<CHttpConnection>& connection,
                                        const CHttpUrl& url, std::string_view body,
                                        bool withOrigin) {
    SendPost(*connection, url, "application/x-www-form-urlencoded", body, withOrigin, false);
    return CHttpResponse::Read(connection);
}

}  // namespace tarnwell
