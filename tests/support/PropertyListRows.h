#pragma once

#include <array>
#include <chrono>
#include <fstream>
#include <gtest/gtest.h>
#include <malloc.h>
#include <optional>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "platform/propertylist/PropertyList.h"
#include "platform/text/Text.h"

namespace quorvel {

struct Refused {};
inline constexpr Refused refused;

/// A property list and what its keys "a" and "b" are to be; none of it when the list is to be refused.
struct PropertyListRow {
    PropertyListRow(std::string rowName, std::string bytes, std::optional<std::string> a,
                    std::optional<std::string> b)
        : name(std::move(rowName)),
          list(std::move(bytes)),
          expected(PropertyListTexts{std::move(a), std::move(b)}) {}
    PropertyListRow(std::string rowName, std::string bytes, Refused)
        : name(std::move(rowName)), list(std::move(bytes)) {}

    std::string name;
    std::string list;
    std::optional<PropertyListTexts> expected;
};

inline std::optional<PropertyListTexts> readRow(std::string_view list) {
    constexpr std::array<std::string_view, 2> keys{"a", "b"};
    return readPropertyList(list, keys);
}

inline std::string shown(const std::optional<PropertyListTexts>& texts) {
    if (!texts) return "refused";
    std::string line;
    for (const auto& text : *texts)
        line += text ? " '" + text->substr(0, 60) + "'" : " none";
    return line;
}

inline void expectTexts(const std::vector<PropertyListRow>& rows) {
    for (const auto& row : rows) {
        const auto actual = readRow(row.list);
        EXPECT_TRUE(actual == row.expected) << row.name << ": expected " << shown(row.expected) << ", actual "
                                            << shown(actual) << ", list " << row.list.substr(0, 400);
    }
}

/// Of a damaged list nothing may come, or texts that are valid.
inline void expectValidOrRefused(std::string_view list) {
    const auto texts = readRow(list);
    if (!texts) return;
    for (const auto& text : *texts)
        EXPECT_TRUE(!text || text::isValidUtf8(*text)) << "list " << list;
}

/// Sanitizers slow everything down and keep freed memory.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr int instrumentedFactor = 16;
#else
inline constexpr int instrumentedFactor = 1;
#endif

inline std::chrono::microseconds processorTime() {
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    return std::chrono::seconds(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
           std::chrono::microseconds(used.ru_utime.tv_usec + used.ru_stime.tv_usec);
}

/// The most memory that was resident since the last reset.
inline long peakKilobytes() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) return std::stol(line.substr(6));
    }
    return 0;
}

/// The memory that reading `list` takes, measured in a process of its own: what this one has freed before
/// would be taken again.
inline long kilobytesSpentOn(std::string_view list) {
    std::array<int, 2> channel{};
    EXPECT_EQ(pipe(channel.data()), 0);
    const pid_t child = fork();
    if (child == 0) {
        // Gives back what is free, then takes the present for the peak.
        malloc_trim(0);
        std::ofstream("/proc/self/clear_refs") << 5;
        const long before = peakKilobytes();
        [[maybe_unused]] const auto texts = readRow(list);
        const long spent = peakKilobytes() - before;
        _exit(write(channel[1], &spent, sizeof spent) == sizeof spent ? 0 : 1);
    }
    close(channel[1]);
    long spent = 0;
    EXPECT_EQ(read(channel[0], &spent, sizeof spent), static_cast<ssize_t>(sizeof spent))
        << "the reader died";
    close(channel[0]);
    waitpid(child, nullptr, 0);
    return spent;
}

/// Bounds that hold without optimisation and on a busy machine; what breaks them is dear out of all
/// proportion.
inline void expectLittleSpent(const std::string& name, std::string_view list) {
    const auto start = processorTime();
    const auto texts = readRow(list);
    const auto time = processorTime() - start;
    EXPECT_LT(time.count(), instrumentedFactor * 500'000) << name << ", microseconds, " << shown(texts);
    EXPECT_LT(kilobytesSpentOn(list), instrumentedFactor * 32 * 1024) << name << ", " << shown(texts);
}

}  // namespace quorvel
