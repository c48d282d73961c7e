#include "scanner/AppScannerService.h"

#include <algorithm>
#include <array>
#include <memory>
#include <stdlib.h>
#include <string_view>
#include <system_error>
#include <utility>

#include "platform/Files.h"
#include "platform/Folders.h"
#include "platform/propertylist/PropertyList.h"
#include "platform/text/Text.h"
#include "scanner/BundleWalk.h"

namespace quorvel {

namespace {

enum Key : std::size_t { identifier, shortVersion, bundleVersion, bundleName };

constexpr std::array<std::string_view, 4> infoKeys{"CFBundleIdentifier", "CFBundleShortVersionString",
                                                   "CFBundleVersion", "CFBundleName"};

/// The root's path without links; as it is when nothing can be found there, or without links it is too long.
std::string resolvedRoot(const std::filesystem::path& root) {
    const std::unique_ptr<char, decltype(&free)> resolved(realpath(root.c_str(), nullptr), &free);
    return resolved ? resolved.get() : root.string();
}

/// `buffer` serves one bundle after another.
std::optional<PropertyListTexts> readInfo(std::string& buffer, const BundleWalk::Bundle& bundle) {
    const std::string path = bundle.name + "/Contents/Info.plist";
    if (!files::read(bundle.folder, path.c_str(), propertyListSizeLimit, buffer)) return std::nullopt;
    return readPropertyList(buffer, infoKeys);
}

std::string fileName(const BundleWalk::Bundle& bundle) {
    constexpr std::string_view extension = ".app";
    return text::repairedUtf8(std::string_view(bundle.name).substr(0, bundle.name.size() - extension.size()));
}

std::optional<std::string> nonEmpty(std::optional<std::string>& text) {
    return text && !text->empty() ? std::move(text) : std::nullopt;
}

ScanIssue issueWith(const BundleWalk::Bundle& bundle, std::string name, std::string reason) {
    return {std::move(name), text::repairedUtf8(bundle.path), std::move(reason)};
}

/// Adds the bundle to the applications, or to the issues when it has no version.
void list(BundleWalk::Bundle bundle, PropertyListTexts info, std::vector<InstalledApp>& apps,
          std::vector<ScanIssue>& issues) {
    auto name = nonEmpty(info[bundleName]);
    if (!name) name = fileName(bundle);
    auto version = nonEmpty(info[shortVersion]);
    if (!version) version = nonEmpty(info[bundleVersion]);
    if (!version) {
        issues.push_back(issueWith(bundle, *std::move(name), "no version"));
        return;
    }
    BundleIcon icon{bundle.path};
    apps.push_back({*std::move(name), std::move(info[identifier]).value_or(""), *std::move(version),
                    std::move(bundle.path), std::move(icon)});
}

/// Without the slash at its end.
std::string displayedFolder(std::string path) {
    if (path.size() > 1 && path.ends_with('/')) path.pop_back();
    return text::repairedUtf8(path);
}

}  // namespace

AppScannerService::AppScannerService(std::vector<std::filesystem::path> folders,
                                     std::optional<std::string> ownIdentifier)
    : roots(std::move(folders)), ownBundleIdentifier(std::move(ownIdentifier)) {}

std::vector<std::filesystem::path> AppScannerService::standardRoots() {
    std::vector<std::filesystem::path> roots{"/Applications"};
    if (const auto home = folders::home(); !home.empty()) roots.push_back(home / "Applications");
    roots.emplace_back("/System/Applications");
    return roots;
}

std::vector<std::filesystem::path> AppScannerService::rootsOfVolume(const std::filesystem::path& systemRoot) {
    const auto users = systemRoot / "Users";
    std::vector<std::filesystem::path> roots;
    std::error_code error;
    for (std::filesystem::directory_iterator user(users, error), end; !error && user != end;
         user.increment(error)) {
        roots.push_back(user->path() / "Applications");
    }
    // The scan says of it what it says of any folder that cannot be read.
    if (error && error != std::errc::no_such_file_or_directory) roots.push_back(users);
    std::ranges::sort(roots);
    roots.insert(roots.begin(), systemRoot / "Applications");
    roots.push_back(systemRoot / "System/Applications");
    return roots;
}

std::vector<InstalledApp> AppScannerService::scan(std::vector<ScanIssue>& issues) const {
    ScanCoverage ignored;
    return scan(issues, ignored);
}

std::vector<InstalledApp> AppScannerService::scan(std::vector<ScanIssue>& issues,
                                                  ScanCoverage& coverage) const {
    std::vector<InstalledApp> apps;
    std::string buffer;
    for (const auto& root : roots) {
        BundleWalk walk(resolvedRoot(root));
        if (walk.isRootOpen()) {
            ++coverage.rootsRead;
        } else if (walk.unreadableFolders().empty()) {
            coverage.missingRoots.push_back(root);
        }
        while (auto bundle = walk.next()) {
            auto info = readInfo(buffer, *bundle);
            if (!info) {
                issues.push_back(issueWith(*bundle, fileName(*bundle), "could not read bundle"));
            } else if (ownBundleIdentifier != info->at(identifier).value_or("")) {
                list(*std::move(bundle), *std::move(info), apps, issues);
            }
        }
        for (const auto& folder : walk.unreadableFolders())
            coverage.unreadableFolders.push_back(displayedFolder(folder));
    }
    return apps;
}

}  // namespace quorvel
