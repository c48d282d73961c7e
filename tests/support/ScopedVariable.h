#pragma once

#include <optional>
#include <stdlib.h>
#include <string>

namespace quorvel {

/// Sets an environment variable, or takes it away, until the end of its scope. Before there are threads.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const std::optional<std::string>& value) : name(name) {
        if (const char* const present = getenv(name)) before = present;
        set(value);
    }
    ~ScopedVariable() { set(before); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    void set(const std::optional<std::string>& value) const {
        value ? setenv(name, value->c_str(), 1) : unsetenv(name);
    }

    const char* const name;
    std::optional<std::string> before;
};

}  // namespace quorvel
