#pragma once

#include <gtest/gtest.h>
#include <string>

#include "platform/posix/http/CurlSession.h"
#include "support/ScopedVariable.h"
#include "support/ScriptedServer.h"

namespace quorvel {

using Then = ScriptedServer::Then;
using Greeting = ScriptedServer::Greeting;
using Reply = ScriptedServer::Reply;

HttpRequest post(std::string url, std::string body = "{}");

/// "200 {}", "connectionLost: The connection ...", "404 connectionLost: ...": all three parts of an outcome.
std::string text(const HttpOutcome& outcome);

/// Sends `request` and waits for its end; the outcome as text.
std::string exchange(CurlSession& session, HttpRequest request);

/// `text` with the server's address in place of HOST.
std::string withHost(std::string text, const std::string& host);

}  // namespace quorvel
