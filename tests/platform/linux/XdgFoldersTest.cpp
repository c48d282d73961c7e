#include <gtest/gtest.h>

#include "platform/linux/XdgFolders.h"
#include "support/ScopedVariable.h"

namespace quorvel {
namespace {

TEST(XdgFolders, areTheUsersChoiceElseThoseBelowTheHome) {
    const ScopedVariable home("HOME", "/home/of/somebody"), relative("XDG_DATA_HOME", "relative"),
        none("XDG_CONFIG_HOME", std::nullopt);
    EXPECT_EQ(xdg::dataHome(), "/home/of/somebody/.local/share");
    EXPECT_EQ(xdg::configHome(), "/home/of/somebody/.config");
    const ScopedVariable chosen("XDG_DATA_HOME", "/chosen");
    EXPECT_EQ(xdg::dataHome(), "/chosen");
}

}  // namespace
}  // namespace quorvel
