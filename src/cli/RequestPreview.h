#pragma once

#include <functional>

#include "check/UpdateCheckService.h"
#include "cli/CommandLine.h"
#include "cli/Console.h"
#include "platform/Queue.h"

namespace quorvel {

/// Begins one check with the service that it is given, and runs the task when that is done.
using SendRequests = std::function<void(UpdateCheckService&, Task)>;

/// Prints what `send` sends in a first and in a later check, as showRequests does.
ExitStatus previewRequests(const CommandLine& line, const SendRequests& send);

}  // namespace quorvel
