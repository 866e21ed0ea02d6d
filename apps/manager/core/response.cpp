#include "manager/core/response.h"

namespace tarnwell::manager {

std::string_view ReasonPhrase(int status) {
    switch (status) {
        case 400:
            return "Bad Request";
        case 403:
            return "Forbidden";
        case 404:
            return "Not Found";
        case 405:
            return "Method Not Allowed";
        case 408:
            return "Request Timeout";
        case 421:
            return "Misdirected Request";
        case 422:
            return "Unprocessable Content";
        case 431:
            return "Request Header Fields Too Large";
        case 500:
            return "Internal Server Error";
        case 505:
            return "HTTP Version Not Supported";
        default:
            return "Error";
    }
}

std::string RefusalResponse(const Refusal& refusal) {
    const std::string body = refusal.why + "\r\n";
    std::string text = "HTTP/1.1 " + std::to_string(refusal.status) + " ";
    text.append(ReasonPhrase(refusal.status)).append("\r\n");
    text += "Server: Kestrix\r\nConnection: close\r\n";
    if (refusal.status == 405)
        text += "Allow: GET\r\n";
    text += "Content-Type: text/plain; charset=utf-8\r\nX-Content-Type-Options: nosniff\r\n";
    text += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n";
    return text + body;
}

}  // namespace tarnwell::manager
