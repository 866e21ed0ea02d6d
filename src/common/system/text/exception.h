#pragma once

// The base of the foundation's exceptions: an English message as 8-bit text.

#include <exception>

#include "common/system/text/string.h"

namespace tarnwell {

class CException : public std::exception {
public:
    explicit CException(CISOString message) noexcept : m_message(std::move(message)) {}
    ~CException() override = default;

    const CISOString& Message() const noexcept { return m_message; }
    const char* what() const noexcept override { return m_message.CStr(); }

private:
    CISOString m_message;
};

}  // namespace tarnwell
