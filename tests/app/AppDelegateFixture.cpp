#include "app/AppDelegateFixture.h"

namespace quorvel {

namespace {

constexpr const char* baseURL = "https://catalog.test/v1";
constexpr const char* autoMatch = "/apps/auto-match-collection";

std::string identifierOf(const std::string& name) {
    return "com.example." + name;
}

}  // namespace

AppDelegateFixture::AppDelegateFixture() {
    images.named["StatusBarIconTemplate"] = {
        .themeName = "", .bitmaps = {{1, 1, {0, 0, 0, 255}}}, .size = 24, .isTemplate = true};
    answers["/qvl/instance"] = {200, R"({"success":true,"data":{"id":48213}})"};
    listInCatalog({});
    instanceStore.save(7);
    start();
}

AppDelegate::Platform AppDelegateFixture::platform() {
    return {
        .mainQueue = queue,
        .session = session,
        .pathMonitor = std::make_unique<FakePathMonitor>(path),
        .statusBar = statusBar,
        .imageCatalog = images,
        .windowServer = windowServer,
        .alerts = alerts,
        .pasteboard = pasteboard,
        .workspace = workspace,
        .loginItem = loginItem,
        .application = application,
        .persistence = persistence,
        .environment = {{"com.ob.quorvel", "1.4.2"}, {14, 5, 0}},
        .steadyClock = [this] { return std::chrono::steady_clock::time_point(queue.now); },
        .wallClock =
            [this] {
                const auto sinceStart = std::chrono::duration_cast<std::chrono::seconds>(queue.now);
                return std::chrono::sys_days{} + sinceStart;
            },
        .scanRoots = {folder.path / "Applications"},
        .skipMonitoring = skipMonitoring,
        .catalogURL = baseURL,
        .lastResort = {.queue = queue,
                       .session = session,
                       .alerts = alerts,
                       .setHandler = [this](auto handler) { uncaughtExceptionHandler = std::move(handler); },
                       .exit = [this](int status) { exits.push_back(status); }}};
}

void AppDelegateFixture::start() {
    path = std::make_shared<FakePath>();
    delegate = std::make_shared<AppDelegate>(platform());
}

void AppDelegateFixture::launch() {
    delegate->applicationDidFinishLaunching();
}

void AppDelegateFixture::launchOnline() {
    path->report(PathStatus::satisfied);
    launch();
}

void AppDelegateFixture::addApp(const std::string& name, const std::string& version) const {
    folder.write(
        "Applications/" + name + ".app/Contents/Info.plist",
        R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict><key>CFBundleIdentifier</key><string>)" +
            identifierOf(name) + "</string><key>CFBundleShortVersionString</key><string>" + version +
            "</string></dict></plist>");
}

void AppDelegateFixture::listInCatalog(const std::map<std::string, std::string>& versions) {
    std::string data;
    for (const auto& [name, version] : versions) {
        if (!data.empty()) data += ",";
        data += R"({"id":5,"title":")" + name + R"(","version":")" + version +
                R"(","bundle_identifiers":[")" + identifierOf(name) + R"("]})";
    }
    answers[autoMatch] = {200, R"({"success":true,"data":[)" + data + "]}"};
}

void AppDelegateFixture::failCatalog(int status, const std::string& body) {
    answers[autoMatch] = {status, body};
}

void AppDelegateFixture::settle() {
    queue.runUntilIdle();
    while (answered < session.completions.size()) {
        const auto& [status, body] =
            answers[session.requests[answered].url.substr(std::string(baseURL).size())];
        auto completion = std::exchange(session.completions[answered], nullptr);
        ++answered;
        completion({body, status, {}});
        queue.runUntilIdle();
    }
    expectAtRest();
}

void AppDelegateFixture::settleLaunch() {
    settle();
    const std::string text = log(), end = "Launch check completed in ";
    EXPECT_NE(text.find(end), std::string::npos) << text;
    EXPECT_EQ(text.find(end), text.rfind(end)) << "one completion\n" << text;
}

/// What is shown is the state: the icon shows no check, and the menu is the one that would be built now.
void AppDelegateFixture::expectAtRest() {
    EXPECT_FALSE(iconShowsFetching());
    const auto shown = statusBar.menu;
    delegate->rebuildMenu();
    EXPECT_EQ(outline(*shown), menuText());
    statusBar.menu = shown;  // with what its items captured
}

std::vector<std::string> AppDelegateFixture::bodies(const std::string& wanted) const {
    std::vector<std::string> found;
    for (const auto& request : session.requests) {
        if (request.url == baseURL + wanted) found.push_back(request.body);
    }
    return found;
}

std::string AppDelegateFixture::newRequests() {
    std::string paths;
    for (; told < session.requests.size(); ++told)
        paths += session.requests[told].url.substr(std::string(baseURL).size()) + "\n";
    return paths;
}

std::string AppDelegateFixture::updatesText() const {
    std::string text;
    for (const auto& item : itemAt(*statusBar.menu, {"New Versions Available (…"}).submenu->items)
        text += titleOf(item) + "\n";
    return text;
}

bool AppDelegateFixture::iconShowsFetching() const {
    return statusBar.image.bitmaps.at(0).rgba.at(0) == 255;
}

}  // namespace quorvel
