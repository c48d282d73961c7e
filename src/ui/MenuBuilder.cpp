#include "ui/MenuBuilder.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

#include "persistence/ErrorLogger.h"
#include "platform/ProgramInfo.h"
#include "platform/Weakly.h"
#include "platform/text/Text.h"
#include "ui/ActionTarget.h"
#include "ui/ErrorLogWindowController.h"
#include "ui/ReportMail.h"
#include "ui/StatusItemController.h"

namespace quorvel {

namespace {

using Action = MenuBuilder::Action;
using UpdateAction = MenuBuilder::UpdateAction;

/// All in user-perceived characters.
constexpr std::size_t maxNameOnOneLine = 20;
constexpr std::size_t maxTitleOnOneLine = 40;
constexpr std::size_t maxReportedName = 15;

std::shared_ptr<const Menu> menuOf(std::vector<MenuItem> items) {
    return std::make_shared<const Menu>(Menu{std::move(items)});
}

MenuItem disabledItem(TitleRun title) {
    MenuItem item;
    item.title = {std::move(title)};
    item.isEnabled = false;
    return item;
}

MenuItem submenuItem(std::string title, std::shared_ptr<const Menu> submenu) {
    MenuItem item;
    item.title = {{std::move(title)}};
    item.submenu = std::move(submenu);
    return item;
}

MenuItem linkItem(const MenuContext& context, std::string title, std::string url) {
    return makeActionItem(std::move(title), [&workspace = context.workspace, url = std::move(url)] {
        MenuBuilder::openLink(workspace, url);
    });
}

/// An item that asks something of the application's delegate, as long as there is one.
MenuItem delegateItem(const MenuContext& context, std::string title, void (ApplicationActions::*action)()) {
    return makeActionItem(std::move(title), weakly(context.delegate.lock(), action));
}

std::string submitURL(std::int64_t catalogId) {
    return std::string(siteURL) + "/content/submit/" + std::to_string(catalogId);
}

MenuItem checkItem(const MenuContext& context, bool isFetching, Action onCheck) {
    return makeActionItem("Check for Updates",
                          [&alerts = context.alerts, isFetching, onCheck = std::move(onCheck)] {
                              if (isFetching) {
                                  alerts.runAlert("Update check is already running.", "", [] {});
                              } else {
                                  onCheck();
                              }
                          });
}

MenuItem hubItem(const MenuContext& context, Action onTryDesktop) {
    return makeActionItem("Try Orbisto Hub app",
                          [&workspace = context.workspace, onTryDesktop = std::move(onTryDesktop)] {
                              onTryDesktop();
                              MenuBuilder::openLink(workspace, std::string(hubURL));
                          });
}

MenuItem quitItem(const MenuContext& context) {
    MenuItem item = makeActionItem("Quit", [&application = context.application] { application.terminate(); });
    item.keyEquivalent = "q";
    return item;
}

MenuItem updateItem(const MenuContext& context, const AppUpdate& update, const UpdateAction& onIgnore) {
    const TitleRun name{update.app.name, true}, local{update.app.version, true},
        latest{update.latestVersion, true}, arrow{" → "};
    const std::string plainTitle = name.text + " (" + local.text + arrow.text + latest.text + ")";
    const bool fits = text::graphemeCount(name.text) <= maxNameOnOneLine &&
                      text::graphemeCount(plainTitle) <= maxTitleOnOneLine;

    MenuItem item;
    if (fits) {
        item.title = {name, {" ("}, local, arrow, latest, {")"}};
    } else {
        item.title = {name};
        item.detail = {local, arrow, latest};
    }
    item.submenu = MenuBuilder::buildUpdateSubmenu(context, update, onIgnore);
    item.image = update.app.icon;
    return item;
}

std::shared_ptr<const Menu> failureSubmenu(const std::optional<std::string>& error) {
    std::vector<MenuItem> items{disabledItem({"Last check failed"})};
    if (error) items.push_back(disabledItem({*error, true}));
    return menuOf(std::move(items));
}

std::shared_ptr<const Menu> updatesSubmenu(const MenuContext& context, const std::vector<AppUpdate>& updates,
                                           const UpdateAction& onIgnore) {
    std::vector<MenuItem> items;
    for (const auto& update : updates) {
        if (!update.isIgnored) items.push_back(updateItem(context, update, onIgnore));
    }
    if (items.empty()) items.push_back(disabledItem({"No Updates Available"}));
    return menuOf(std::move(items));
}

/// Flips the setting and shows the icon accordingly.
void toggleColorIcon(ApplicationActions& delegate) {
    Settings settings = delegate.settingsStore().load();
    settings.colorIcon = !settings.colorIcon;
    delegate.settingsStore().save(settings);
    if (auto* const controller = delegate.statusItemController()) controller->updateIcon(settings.colorIcon);
}

/// `toggle` runs as long as there is a delegate, `onSettingsChanged` after it in any case.
template <typename Toggle>
MenuItem settingItem(const MenuContext& context, std::string title, bool isOn, Toggle toggle,
                     const Action& onSettingsChanged) {
    MenuItem item = makeActionItem(
        std::move(title), [toggle = weakly(context.delegate.lock(), toggle), onSettingsChanged]() mutable {
            toggle();
            onSettingsChanged();
        });
    item.state = isOn ? MenuItem::State::on : MenuItem::State::off;
    return item;
}

std::string shortName(const std::string& name) {
    if (text::graphemeCount(name) <= maxReportedName) return name;
    return std::string(text::trimmed(text::firstGraphemes(name, maxReportedName))) + "…";
}

/// Whether `text` is an https or mailto URL, the only ones that this program opens, made of nothing but the
/// characters that RFC 3986 has in a URL.
bool isOpenableURL(std::string_view text) {
    constexpr std::string_view allowed =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~!$&'()*+,;=:@/?%#";
    const bool hasScheme = text.starts_with("https://") || text.starts_with("mailto:");
    return hasScheme && text.find_first_not_of(allowed) == std::string_view::npos;
}

void composeMail(Workspace& workspace, std::string_view subject, std::string_view text,
                 std::string_view log) {
    MenuBuilder::openLink(workspace, reportMailURL(subject, text, log, workspace.maxURLSize()));
}

}  // namespace

std::shared_ptr<const Menu> MenuBuilder::buildMenu(
    const MenuContext& context, const std::vector<AppUpdate>& updates, const Settings& settings,
    bool isFetching, bool lastCheckFailed, const std::optional<std::string>& lastCheckError, Action onCheck,
    const UpdateAction& onIgnore, const Action& onSettingsChanged, Action onTryDesktop) {
    // After a failed check, too, the header counts the updates of the last one that succeeded.
    const auto visible = std::ranges::count(updates, false, &AppUpdate::isIgnored);
    const std::string header = "New Versions Available (" + std::to_string(visible) + ")";
    auto list = lastCheckFailed ? failureSubmenu(lastCheckError) : updatesSubmenu(context, updates, onIgnore);

    return menuOf({checkItem(context, isFetching, std::move(onCheck)), submenuItem(header, std::move(list)),
                   MenuItem::separator(),
                   submenuItem("Settings", buildSettingsSubmenu(context, settings, onSettingsChanged)),
                   hubItem(context, std::move(onTryDesktop)),
                   linkItem(context, "Go to Orbisto Website", std::string(siteURL)),
                   linkItem(context, "Feedback", mailURL("Quorvel%20Feedback")),
                   delegateItem(context, "About", &ApplicationActions::showAbout), MenuItem::separator(),
                   quitItem(context)});
}

std::shared_ptr<const Menu> MenuBuilder::buildUpdateSubmenu(const MenuContext& context,
                                                            const AppUpdate& update,
                                                            const UpdateAction& onIgnore) {
    // Shared by the items: a menu can list hundreds of updates.
    const auto shared = std::make_shared<const AppUpdate>(update);
    return menuOf({linkItem(context, "Open App Page", appPageURL(update.obAppId)),
                   makeActionItem("Show in Finder", [&workspace = context.workspace,
                                                     shared] { workspace.selectFile(shared->app.path); }),
                   linkItem(context, "Submit Changes", submitURL(update.obAppId)),
                   makeReportItem(context, shared), MenuItem::separator(),
                   makeActionItem("Ignore This Version", [onIgnore, shared] { onIgnore(*shared); })});
}

std::shared_ptr<const Menu> MenuBuilder::buildSettingsSubmenu(const MenuContext& context,
                                                              const Settings& settings,
                                                              const Action& onSettingsChanged) {
    std::vector<MenuItem> items;
    if (context.loginItem.isOffered()) {
        items.push_back(settingItem(context, "Open at Login", settings.openAtLogin,
                                    &ApplicationActions::toggleOpenAtLogin, onSettingsChanged));
    }
    items.push_back(
        settingItem(context, "Color Icon", settings.colorIcon, toggleColorIcon, onSettingsChanged));
    items.push_back(MenuItem::separator());
    items.push_back(delegateItem(context, "Show Error Log", &ApplicationActions::showErrorLog));
    items.push_back(delegateItem(context, "Ignored Versions", &ApplicationActions::showIgnoredVersions));
    items.push_back(MenuItem::separator());
    items.push_back(makeActionItem("Report Quorvel Issue", [context] { composeGeneralReport(context); }));
    return menuOf(std::move(items));
}

MenuItem MenuBuilder::makeReportItem(const MenuContext& context,
                                     const std::shared_ptr<const AppUpdate>& update) {
    auto item = makeActionItem("", [context, update] { composeUpdateReport(context, *update); });
    item.title = {{"Report "}, {shortName(update->app.name), true}, {" Issue"}};
    return item;
}

void MenuBuilder::composeUpdateReport(const MenuContext& context, const AppUpdate& update) {
    const auto& [name, bundleID, version, path, icon] = update.app;
    std::string body = "App: " + name + "\nLocal version: " + version +
                       "\nLatest version on Orbisto: " + update.latestVersion +
                       "\nOrbisto page: " + appPageURL(update.obAppId);
    const std::string log = ErrorLogger(context.persistence).text();
    if (!log.empty()) body += "\n\nError Log:\n---\n";
    composeMail(context.workspace, "Issue with " + name + " in Quorvel", body, log);
}

void MenuBuilder::composeGeneralReport(const MenuContext& context) {
    composeMail(context.workspace, "Quorvel Issue Report", "",
                ErrorLogWindowController::shownText(ErrorLogger(context.persistence)));
}

void MenuBuilder::openLink(Workspace& workspace, const std::string& url) {
    if (isOpenableURL(url)) workspace.openURL(url);
}

}  // namespace quorvel
