#pragma once

#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/AppDelegate.h"
#include "support/FakeDesktop.h"
#include "support/FakeHttpSession.h"
#include "support/FakePathMonitor.h"
#include "support/FakeQueue.h"
#include "support/FakeStatusBar.h"
#include "support/MenuOutline.h"
#include "support/TemporaryFolder.h"

namespace quorvel {

/// The whole program but its adapters: a controller on a desktop in memory, a catalog that answers by path,
/// real bundles and stored files, and a clock that the test moves.
class AppDelegateFixture : public testing::Test {
protected:
    AppDelegateFixture();

    /// A controller whose process has just started; a second one, on the same files, ends the first.
    void start();
    void launch();
    /// With a satisfied network path.
    void launchOnline();

    void addApp(const std::string& name, const std::string& version) const;
    /// What the catalog says of applications: their names and versions.
    void listInCatalog(const std::map<std::string, std::string>& versions);
    /// What the catalog answers to every list of applications from now on.
    void failCatalog(int status, const std::string& body);

    /// Answers every request and runs what that makes ready, then checks what must hold whenever no check
    /// runs.
    void settle();
    /// Lets the launch check run to its end.
    void settleLaunch();
    /// The requests so far that `path` names, with their bodies.
    std::vector<std::string> bodies(const std::string& path) const;
    /// The paths of the requests since the last call, each with a line feed.
    std::string newRequests();

    std::string menuText() const { return outline(*statusBar.menu); }
    std::string updatesTitle() const {
        return titleOf(itemAt(*statusBar.menu, {"New Versions Available (…"}));
    }
    /// The titles in the updates' submenu, each with a line feed.
    std::string updatesText() const;
    void chooseItem(MenuPath item) const { choose(*statusBar.menu, item); }
    std::string log() const { return folder.read("data/error.log"); }
    bool iconShowsFetching() const;
    void expectAtRest();

    TemporaryFolder folder;
    PersistenceManager persistence = PersistenceManager::at(folder.path / "data");
    InstanceStore instanceStore{persistence};
    FakeQueue queue;
    FakeHttpSession session;
    std::shared_ptr<FakePath> path;
    FakeStatusBar statusBar;
    FakeImageCatalog images;
    FakeWindowServer windowServer;
    FakeAlerts alerts;
    FakePasteboard pasteboard;
    FakeWorkspace workspace;
    FakeLoginItem loginItem;
    FakeApplication application;
    std::function<void(const UncaughtException&)> uncaughtExceptionHandler;
    std::vector<int> exits;
    bool skipMonitoring = false;

    struct Answer {
        int status = 200;
        std::string body = R"({"success":true})";
    };
    std::map<std::string, Answer> answers;
    std::shared_ptr<AppDelegate> delegate;

private:
    AppDelegate::Platform platform();

    std::size_t answered = 0;
    std::size_t told = 0;
};

}  // namespace quorvel
