#include "ui/AboutWindowController.h"

#include <array>
#include <string_view>
#include <utility>

#include "ui/MenuBuilder.h"

namespace quorvel {

namespace {

struct Link {
    std::string_view title;
    Frame frame;
    std::string address;
};

std::array<Link, 4> links() {
    const std::string site(siteURL);
    return {{{"Orbisto Website", {50, 120, 140, 22}, site},
             {"Orbisto Hub", {210, 120, 140, 22}, std::string(hubURL)},
             {"Terms of Use", {90, 80, 100, 22}, site + "/terms/quorvel"},
             {"Privacy Policy", {210, 80, 110, 22}, site + "/privacy#quorvel"}}};
}

}  // namespace

AboutWindowController::AboutWindowController(ProgramInfo program, InstanceStore instanceStore,
                                             Workspace& workspace)
    : program(std::move(program)), instanceStore(std::move(instanceStore)), workspace(workspace) {}

WindowContent AboutWindowController::makeContentView() const {
    const auto instanceId = instanceStore.load();
    WindowContent content{
        .title = "About Quorvel", .width = 400, .height = 320, .isResizable = false, .views = {}};
    content.views = {
        Label{{0, 220, 400, 30}, "Quorvel", {FontRole::boldSystem, 18}, ColorRole::label},
        Label{{0, 188, 400, 22},
              "Version " + program.shortVersion.value_or(""),
              {FontRole::system, 13},
              ColorRole::secondaryLabel},
        Label{{0, 164, 400, 18},
              "Instance ID: " + (instanceId ? std::to_string(*instanceId) : "not registered yet"),
              {FontRole::system, 11},
              ColorRole::tertiaryLabel}};
    for (const auto& [title, frame, address] : links())
        content.views.emplace_back(Button{frame, std::string(title), Button::Style::link});
    return content;
}

void AboutWindowController::buttonPressed(const std::string& title) {
    for (const auto& link : links()) {
        if (link.title == title) MenuBuilder::openLink(workspace, link.address);
    }
}

}  // namespace quorvel
