#pragma once

#include <deque>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <optional>
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
    /// With a satisfied network path.
    void launchOnline();
    /// The same, to the end of the launch check, whose requests have been told then.
    void finishLaunch();

    /// Of applications, by their names.
    using Versions = std::map<std::string, std::string>;
    struct Answer {
        int status = 200;
        std::string body = R"({"success":true})";
    };

    /// `bundle` is its path in the folder of applications, without extension, where that is not the name.
    void addApp(const std::string& name, const std::string& version, const std::string& bundle = "") const;
    /// What the catalog knows from now on, or answers to every list of applications.
    void listInCatalog(Versions versions);
    void failCatalog(int status, const std::string& body);
    Answer answerTo(const HttpRequest& request) const;
    /// Answers that request, and runs what that makes ready.
    void answer(std::size_t request, const Answer& given);

    /// Answers every request, lets the pauses between those of a check pass, then checks what must hold
    /// whenever no check runs.
    void settle();
    /// The paths of the requests since the last call, a line each, with what their bodies say.
    std::string newRequests();
    /// The same, then the updates' items if there is a new menu, and whether a check is shown now.
    std::string news();
    /// What the newest request reports beside its message.
    std::string backtrace() const;

    std::string menuText() const { return outline(*statusBar.menu); }
    std::string updatesTitle() const {
        return titleOf(itemAt(*statusBar.menu, {"New Versions Available (…"}));
    }
    /// The items of the updates' submenu, a line each.
    std::string updatesText() const;
    void chooseItem(MenuPath item) const { choose(*statusBar.menu, item); }
    std::string log() const { return folder.read("data/error.log"); }
    bool iconShowsFetching() const;
    void expectAtRest();

    /// Beyond what a double holds, and below what a page of the catalog has.
    static constexpr std::int64_t catalogId = -9007199254740993;

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
    std::optional<std::string> ownVersion = "1.4.2";

    /// By path; lists of applications get `chunkAnswers` first.
    std::map<std::string, Answer> answers;
    std::deque<std::optional<Answer>> chunkAnswers;
    std::shared_ptr<AppDelegate> delegate;

private:
    AppDelegate::Platform platform();
    Answer nextAnswer();

    Versions listed;
    std::size_t answered = 0;
    std::size_t told = 0;
    int menusTold = 0;
};

}  // namespace quorvel
