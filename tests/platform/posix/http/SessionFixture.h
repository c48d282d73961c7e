#pragma once

#include <chrono>
#include <ostream>
#include <stdlib.h>
#include <string>

#include "platform/posix/http/CurlSession.h"
#include "support/ScriptedServer.h"

namespace quorvel {

using Then = ScriptedServer::Then;
using Greeting = ScriptedServer::Greeting;
using Reply = ScriptedServer::Reply;
using Code = SessionError::Code;

HttpRequest post(std::string url, std::string body = "{}");

/// Sends `request` and waits for its end.
HttpOutcome exchange(HttpSession& session, HttpRequest request);

/// An environment variable for the time of one test, set before the session's thread starts.
class ScopedVariable {
public:
    ScopedVariable(const char* what, const std::string& value) : name(what) {
        setenv(name, value.c_str(), 1);
    }
    ~ScopedVariable() { unsetenv(name); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    const char* name;
};

/// A port of loopback that refuses connections for as long as this lives.
class RefusingPort {
public:
    RefusingPort();
    ~RefusingPort();
    RefusingPort(const RefusingPort&) = delete;
    RefusingPort& operator=(const RefusingPort&) = delete;

    std::string host() const { return "127.0.0.1:" + std::to_string(number); }

private:
    int socket = -1;
    int number = 0;
};

/// "200 {}", "connectionLost: The connection ...", "404 connectionLost: ...": all three parts of an outcome.
std::string text(const HttpOutcome& outcome);

}  // namespace quorvel
