#pragma once

// What the network code throws: everything that goes wrong between an address and the last byte
// of an answer is a CHttpException whose message is fit for the trace.

#include "common/system/text/exception.h"

namespace tarnwell {

/// The root of all network failures.
class ENetwork : public CException {
public:
    using CException::CException;
    ~ENetwork() override = default;
};

/// A failure of an HTTP exchange: address, connection, transfer or the peer's grammar.
class CHttpException : public ENetwork {
public:
    using ENetwork::ENetwork;
    ~CHttpException() override = default;
};

}  // namespace tarnwell
