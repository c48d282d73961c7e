#include "scanner/AppScannerService.h"

#include <array>
#include <memory>
#include <stdlib.h>
#include <string_view>
#include <sys/stat.h>
#include <utility>

#include "platform/Folders.h"
#include "platform/InfoPropertyListFile.h"
#include "platform/PropertyList.h"
#include "platform/Text.h"
#include "scanner/BundleWalk.h"

namespace quorvel {

namespace {

enum Key : std::size_t { identifier, shortVersion, bundleVersion, bundleName };

constexpr std::array<std::string_view, 4> infoKeys{"CFBundleIdentifier", "CFBundleShortVersionString",
                                                   "CFBundleVersion", "CFBundleName"};

/// The root's path without links; none when nothing is there.
std::optional<std::string> resolvedRoot(const std::filesystem::path& root) {
    const std::unique_ptr<char, decltype(&free)> resolved(realpath(root.c_str(), nullptr), &free);
    if (resolved) return resolved.get();
    struct stat status{};
    if (stat(root.c_str(), &status) != 0) return std::nullopt;
    return root.string();
}

std::optional<PropertyListTexts> readInfo(InfoPropertyListFile& file, const BundleWalk::Bundle& bundle) {
    const auto bytes = file.read(bundle.folder, bundle.name);
    return bytes ? readPropertyList(*bytes, infoKeys) : std::nullopt;
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

std::vector<InstalledApp> AppScannerService::scan(std::vector<ScanIssue>& issues) const {
    std::vector<InstalledApp> apps;
    InfoPropertyListFile file;
    for (const auto& root : roots) {
        const auto resolved = resolvedRoot(root);
        if (!resolved) continue;
        BundleWalk walk(*resolved);
        while (auto bundle = walk.next()) {
            auto info = readInfo(file, *bundle);
            if (!info) {
                issues.push_back(issueWith(*bundle, fileName(*bundle), "could not read bundle"));
            } else if (ownBundleIdentifier != info->at(identifier).value_or("")) {
                list(*std::move(bundle), *std::move(info), apps, issues);
            }
        }
    }
    return apps;
}

}  // namespace quorvel
