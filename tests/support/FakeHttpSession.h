#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/HttpSession.h"

namespace quorvel {

/// Keeps every request until the test answers it. Answers run at once, as if on the session's own thread.
class FakeHttpSession final : public HttpSession {
public:
    void dataTask(HttpRequest request, Completion completion) override {
        requests.push_back(std::move(request));
        completions.push_back(std::move(completion));
    }

    /// Ends the newest request.
    void end(HttpOutcome outcome) { completions.back()(std::move(outcome)); }

    std::vector<HttpRequest> requests;
    std::vector<Completion> completions;
};

}  // namespace quorvel
