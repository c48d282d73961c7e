#include <algorithm>
#include <map>
#include <unistd.h>
#include <utility>
#include <vector>

#include "cli/Table.h"
#include "cli/fleet/FleetReport.h"
#include "platform/text/DisplayText.h"

namespace quorvel {

namespace {

using Kind = Table::Kind;

std::string failureSection(const Fleet& fleet, const Terminal& terminal) {
    Table table{{{"INVENTORY", Kind::name}, {"HOST", Kind::version}, {"REASON", Kind::text}}};
    for (const auto& failure : fleet.failures)
        table.add({failure.source, failure.host.value_or(""), failure.reason});
    return section("Not read, or not whole", table, terminal);
}

/// How many hosts there are of something, each counted once although it may have it twice.
struct HostCount {
    void add(std::size_t host) {
        if (std::exchange(last, host) != host) ++number;
    }

    std::size_t number = 0;
    std::size_t last = static_cast<std::size_t>(-1);
};

/// Counts over all hosts what single tables would list.
class FleetTable final : public FleetPrinter {
public:
    FleetTable(const CommandLine& line, const Fleet& fleet, const ReportHead& head)
        : line(line), fleet(fleet), head(head) {}

    void add(const HostReport& report) override {
        ++host;
        outside += report.outside;
        if (report.system.source == RunningSystem::Source::unknown) ++withoutSystem;
        for (const auto& update : report.verdicts.updates)
            add(update, update.isIgnored ? ignored : newer);
        for (const auto& skipped : report.verdicts.skipped) {
            if (!skipped.isAnswered()) ++unanswered;
            if (line.all) others[{std::string(skipped.app.name), std::string(skipped.reason)}].add(host);
        }
        issues += report.issues.size();
        for (const auto& issue : report.issues)
            unlisted[{issue.appName, issue.reason}].add(host);
    }

    void end() override {
        const Terminal terminal = describeTerminal(STDOUT_FILENO);
        if (head.hasFailed()) return print(failureSection(fleet, terminal));
        std::string text = section("New versions available", updateTable(newer), terminal);
        if (line.all) {
            text += section("Ignored versions", updateTable(ignored), terminal) +
                    section("No newer version", reasonTable(others), terminal) +
                    section("Not listed", reasonTable(unlisted), terminal);
        }
        print(text + failureSection(fleet, terminal) + summary());
    }

private:
    /// An application with one version on offer.
    struct Offer {
        std::map<std::string_view, HostCount> names;
        std::map<std::string_view, HostCount> installed;
        HostCount hosts;
        std::size_t copies = 0;
    };
    using Offers = std::map<std::pair<std::string_view, std::string_view>, Offer>;
    using Reasons = std::map<std::pair<std::string, std::string>, HostCount>;

    void add(const Verdict& update, Offers& offers) const {
        auto& offer = offers[{update.app.identifier, update.latestVersion}];
        offer.names[update.app.name].add(host);
        offer.installed[update.app.version].add(host);
        offer.hosts.add(host);
        ++offer.copies;
    }

    /// The commonest first; on a tie in order.
    static std::vector<std::pair<std::string_view, std::size_t>> byNumber(
        const std::map<std::string_view, HostCount>& counts) {
        std::vector<std::pair<std::string_view, std::size_t>> list;
        list.reserve(counts.size());
        for (const auto& [what, count] : counts)
            list.emplace_back(what, count.number);
        std::ranges::stable_sort(list, std::ranges::greater(),
                                 &std::pair<std::string_view, std::size_t>::second);
        return list;
    }

    static Table updateTable(const Offers& offers) {
        Table table{{{"APPLICATION", Kind::name},
                     {"AVAILABLE", Kind::version},
                     {"INSTALLED", Kind::text},
                     {"HOSTS", Kind::phrase}}};
        for (const auto& [key, offer] : offers) {
            std::string installed;
            for (const auto& [version, hosts] : byNumber(offer.installed))
                installed +=
                    (installed.empty() ? "" : ", ") + std::string(version) + ": " + std::to_string(hosts);
            table.add({byNumber(offer.names).front().first, key.second, installed,
                       std::to_string(offer.hosts.number)});
        }
        return sortedByName(std::move(table));
    }

    static Table reasonTable(const Reasons& reasons) {
        Table table{{{"APPLICATION", Kind::name}, {"HOSTS", Kind::phrase}, {"REASON", Kind::text}}};
        for (const auto& [key, hosts] : reasons)
            table.add({key.first, std::to_string(hosts.number), key.second});
        return sortedByName(std::move(table));
    }

    static std::size_t copies(const Offers& offers) {
        std::size_t sum = 0;
        for (const auto& [key, offer] : offers)
            sum += offer.copies;
        return sum;
    }

    std::string summary() const {
        const std::size_t unread = fleet.unreadHosts();
        const std::size_t clipped = fleet.failures.size() - unread;
        const std::size_t known = fleet.hosts.size();
        std::string text = newer.empty() ? "Nothing newer"
                                         : counted(copies(newer), "newer version") + " of " +
                                               counted(newer.size(), "application");
        if (!ignored.empty()) text += " (and " + std::to_string(copies(ignored)) + " ignored)";
        text += " on " + (unread > 0 ? std::to_string(known) + " of " : "") + counted(known + unread, "host");
        return text + clause("", unread, "host", " could not be read") +
               clause("", clipped, "report", clipped == 1 ? " is clipped" : " are clipped") +
               clause("", issues, "bundle", " could not be listed") +
               clause("the catalog gave no answer for ", unanswered, "application", "") +
               clause("no minimum system was applied to ", withoutSystem, "host",
                      " whose macOS is not known") +
               clause("", line.all ? outside : 0, "bundle", " outside the application folders left out") +
               ".\n";
    }

    const CommandLine& line;
    const Fleet& fleet;
    const ReportHead& head;
    Offers newer;
    Offers ignored;
    Reasons others;
    Reasons unlisted;
    /// Counts the hosts up to the one at hand.
    std::size_t host = 0;
    std::size_t issues = 0;
    std::size_t outside = 0;
    std::size_t unanswered = 0;
    std::size_t withoutSystem = 0;
};

/// One after another, as if each host had been checked alone.
class HostTables final : public FleetPrinter {
public:
    HostTables(const CommandLine& line, const Fleet& fleet, const ReportHead& head)
        : line(line), fleet(fleet), head(head) {}

    void add(const HostReport& report) override {
        if (!head.hasFailed())
            printPart(onOneLine(report.name) + "\n\n" + tableReport(report, line.all, terminal));
    }

    void end() override {
        if (!fleet.failures.empty()) printPart(failureSection(fleet, terminal));
    }

private:
    void printPart(const std::string& text) { print((std::exchange(isFirst, false) ? "" : "\n") + text); }

    const CommandLine& line;
    const Fleet& fleet;
    const ReportHead& head;
    const Terminal terminal = describeTerminal(STDOUT_FILENO);
    bool isFirst = true;
};

}  // namespace

std::unique_ptr<FleetPrinter> makeTablePrinter(const CommandLine& line, const Fleet& fleet,
                                               const ReportHead& head) {
    if (line.hosts.empty()) return std::make_unique<FleetTable>(line, fleet, head);
    return std::make_unique<HostTables>(line, fleet, head);
}

}  // namespace quorvel
