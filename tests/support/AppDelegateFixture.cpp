#include "support/AppDelegateFixture.h"

#include <nlohmann/json.hpp>

#include "check/Chunks.h"

namespace quorvel {

namespace {

constexpr const char* baseURL = "https://catalog.test/v1";
constexpr const char* autoMatch = "/apps/auto-match-collection";

/// What tells a request from others: the number of applications, a tracking event's message, or the body.
std::string summaryOf(const HttpRequest& request) {
    if (request.body.empty()) return "";
    const auto body = nlohmann::json::parse(request.body);
    if (body.contains("titles")) return std::to_string(body["titles"].size());
    if (!body.contains("message")) return request.body;
    return body["status"].get<std::string>() + " " + body["message"].get<std::string>();
}

}  // namespace

AppDelegateFixture::AppDelegateFixture() {
    images.named["StatusBarIconTemplate"] = {
        .themeName = "", .bitmaps = {{1, 1, {0, 0, 0, 255}}}, .size = 24, .isTemplate = true};
    answers["/qvl/instance"] = {200, R"({"success":true,"data":{"id":48213}})"};
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
        .environment = {{"com.ob.quorvel", ownVersion}, {14, 5, 0}},
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

void AppDelegateFixture::launchOnline() {
    path->report(PathStatus::satisfied);
    delegate->applicationDidFinishLaunching();
}

void AppDelegateFixture::finishLaunch() {
    launchOnline();
    settle();
    news();
}

void AppDelegateFixture::addApp(const std::string& name, const std::string& version,
                                const std::string& bundle) const {
    const auto text = [](const std::string& key, const std::string& value) {
        return "<key>" + key + "</key><string><![CDATA[" + value + "]]></string>";
    };
    folder.write("Applications/" + (bundle.empty() ? name : bundle) + ".app/Contents/Info.plist",
                 "<plist version=\"1.0\"><dict>" + text("CFBundleIdentifier", "com.example." + name) +
                     text("CFBundleName", name) + text("CFBundleShortVersionString", version) +
                     "</dict></plist>");
}

void AppDelegateFixture::listInCatalog(Versions versions) {
    answers.erase(autoMatch);
    listed = std::move(versions);
}

void AppDelegateFixture::failCatalog(int status, const std::string& body) {
    answers[autoMatch] = {status, body};
}

AppDelegateFixture::Answer AppDelegateFixture::answerTo(const HttpRequest& request) const {
    const auto endpoint = request.url.substr(std::string(baseURL).size());
    if (answers.contains(endpoint)) return answers.at(endpoint);
    if (endpoint != autoMatch) return {};
    const auto asked = nlohmann::json::parse(request.body);
    auto data = nlohmann::json::array();
    for (std::size_t index = 0; index < asked["titles"].size(); ++index) {
        const std::string title = asked["titles"][index], identifier = asked["bundle_ids"][index];
        if (!listed.contains(title) || identifier != "com.example." + title) continue;
        data.push_back({{"id", catalogId},
                        {"title", title},
                        {"version", listed.at(title)},
                        {"bundle_identifiers", {identifier}}});
    }
    return {200, nlohmann::json{{"success", true}, {"data", data}}.dump()};
}

void AppDelegateFixture::answer(std::size_t request, const Answer& given) {
    std::exchange(session.completions[request], nullptr)({given.body, given.status, {}});
    queue.runUntilIdle();
}

void AppDelegateFixture::settle() {
    queue.runUntilIdle();
    for (; answered < session.completions.size(); ++answered) {
        if (session.completions[answered]) answer(answered, nextAnswer());
        if (answered + 1 == session.completions.size() && iconShowsFetching()) queue.advance(interChunkDelay);
    }
    expectAtRest();
}

/// To the request at `answered`.
AppDelegateFixture::Answer AppDelegateFixture::nextAnswer() {
    const auto& request = session.requests[answered];
    if (!request.url.ends_with(autoMatch) || chunkAnswers.empty()) return answerTo(request);
    const auto given = chunkAnswers.front();
    chunkAnswers.pop_front();
    return given.value_or(answerTo(request));
}

/// What is shown is the state: the icon shows no check, and the menu is the one that would be built now.
void AppDelegateFixture::expectAtRest() {
    EXPECT_FALSE(iconShowsFetching());
    const auto shown = statusBar.menu;
    delegate->rebuildMenu();
    EXPECT_EQ(outline(*shown), menuText());
    statusBar.menu = shown;  // with what its items captured
    --statusBar.menusSet;
}

std::string AppDelegateFixture::newRequests() {
    std::string text;
    for (; told < session.requests.size(); ++told) {
        const auto& request = session.requests[told];
        const auto summary = summaryOf(request);
        text +=
            request.url.substr(std::string(baseURL).size()) + (summary.empty() ? "" : " ") + summary + "\n";
    }
    return text;
}

std::string AppDelegateFixture::news() {
    std::string text = newRequests();
    if (std::exchange(menusTold, statusBar.menusSet) != statusBar.menusSet) text += updatesText();
    return text + (iconShowsFetching() ? "checking\n" : "");
}

std::string AppDelegateFixture::backtrace() const {
    return nlohmann::json::parse(session.requests.back().body).at("backtrace");
}

std::string AppDelegateFixture::updatesText() const {
    std::string text;
    for (const auto& item : itemAt(*statusBar.menu, {"New Versions Available (…"}).submenu->items)
        text += lineOf(item);
    return text;
}

bool AppDelegateFixture::iconShowsFetching() const {
    return statusBar.image.bitmaps.at(0).rgba.at(0) == 255;
}

}  // namespace quorvel
