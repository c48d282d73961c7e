#include <cstdlib>
#include <gtest/gtest.h>

#include "platform/linux/XdgFolders.h"
#include "support/ForkedChild.h"

namespace quorvel {
namespace {

TEST(XdgFolders, areTheUsersChoiceElseThoseBelowTheHome) {
    runInChild([] {
        setenv("HOME", "/home/of/somebody", 1);
        for (const auto& [chosen, data] :
             {std::pair{"/chosen", "/chosen"}, {"relative", "/home/of/somebody/.local/share"}}) {
            setenv("XDG_DATA_HOME", chosen, 1);
            EXPECT_EQ(xdg::dataHome(), data);
        }
        unsetenv("XDG_CONFIG_HOME");
        EXPECT_EQ(xdg::configHome(), "/home/of/somebody/.config");
        setenv("HOME", "relative", 1);
        EXPECT_TRUE(xdg::configHome().is_absolute()) << "from the system's list of users";
    });
}

}  // namespace
}  // namespace quorvel
