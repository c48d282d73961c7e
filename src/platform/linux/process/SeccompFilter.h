#pragma once

#include <cerrno>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <seccomp.h>

namespace quorvel {

/// A seccomp filter for this process and what it starts. Remembers the first rule that could not be added.
class SeccompFilter {
public:
    /// `otherCalls` is what happens to system calls without a rule.
    explicit SeccompFilter(std::uint32_t otherCalls) : filter(seccomp_init(otherCalls)) {
        if (!filter) error = ENOMEM;
    }

    /// For calls whose arguments meet all conditions.
    void add(std::uint32_t action, std::initializer_list<int> calls,
             std::initializer_list<scmp_arg_cmp> conditions = {}) {
        for (const int call : calls) {
            const int result = seccomp_rule_add_array(
                filter.get(), action, call, static_cast<unsigned>(conditions.size()), conditions.begin());
            if (result < 0 && error == 0) error = -result;
        }
    }

    /// Puts the filter into force, for good. 0 or an errno.
    int load() { return error != 0 ? error : -seccomp_load(filter.get()); }

private:
    struct Release {
        void operator()(void* context) const { seccomp_release(context); }
    };
    std::unique_ptr<void, Release> filter;
    int error = 0;
};

}  // namespace quorvel
