#include "cli/RequestPreview.h"

#include <filesystem>
#include <memory>
#include <string>
#include <unistd.h>
#include <utility>

#include "api/OrbistoAPIService.h"
#include "cli/CatalogRun.h"
#include "cli/Commands.h"
#include "cli/Inventory.h"
#include "platform/posix/TaskQueue.h"
#include "platform/text/DisplayText.h"

namespace quorvel {

namespace {

/// Stands for the id that the catalog gives at the registration.
constexpr std::int64_t unknownInstance = 0;

/// Writes down requests in place of sending them, and answers as a catalog that knows no application.
class WritingSession final : public HttpSession {
public:
    explicit WritingSession(Queue& queue) : queue(queue) {}

    void dataTask(HttpRequest request, Completion completion) override {
        written += request.method + " " + request.url + "\n";
        for (const auto& [name, value] : request.headers)
            written += name + ": " + masked(value) + "\n";
        written += "\n";
        if (!request.body.empty()) written += masked(request.body) + "\n\n";
        const bool registers = request.url.ends_with("/qvl/instance");
        std::string answer = registers
                                 ? R"({"success":true,"data":{"id":)" + std::to_string(unknownInstance) + "}}"
                                 : R"({"success":true,"data":[]})";
        queue.post([answer = std::move(answer), completion = std::move(completion)]() mutable {
            completion({.data = std::move(answer), .statusCode = 200, .error = std::nullopt});
        });
    }

    std::string written;

private:
    static std::string masked(std::string text) {
        for (const auto secret : {OrbistoAPIService::autoMatchSecret, OrbistoAPIService::defaultClientId,
                                  OrbistoAPIService::installEventClientId}) {
            const auto found = text.find(secret);
            if (found != std::string::npos)
                text.replace(found, secret.size(), std::string(secret.size(), '*'));
        }
        return text;
    }

    Queue& queue;
};

/// A storage folder that is removed afterwards.
class TemporaryStorage {
public:
    TemporaryStorage() : storage(std::filesystem::temp_directory_path()) {}
    ~TemporaryStorage() {
        std::error_code ignored;
        std::filesystem::remove_all(storage.appSupportURL, ignored);
    }
    TemporaryStorage(const TemporaryStorage&) = delete;
    TemporaryStorage& operator=(const TemporaryStorage&) = delete;

    const PersistenceManager storage;
};

std::string requestsOfOneCheck(const CommandLine& line, const PersistenceManager& storage,
                               const SendRequests& send) {
    TaskQueue queue;
    WritingSession session(queue);
    const auto service = makeCheckService(line, storage, queue, session, std::chrono::milliseconds::zero());
    send(*service, [&queue] { queue.quit(); });
    queue.run();
    return std::move(session.written);
}

/// Line by line, so that nothing in a name is obeyed by a terminal.
std::string shown(const std::string& text) {
    if (!describeTerminal(STDOUT_FILENO).isTerminal) return text;
    std::string lines;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = text.find('\n', start);
        lines += onOneLine(std::string_view(text).substr(start, end - start)) + "\n";
        start = end + 1;
    }
    return lines;
}

}  // namespace

ExitStatus previewRequests(const CommandLine& line, const SendRequests& send) {
    std::string text;
    const TemporaryStorage temporary;
    const auto registered = InstanceStore(storageOf(line)).load();
    if (registered) {
        InstanceStore(temporary.storage).save(*registered);
    } else {
        text = "== The first check; the catalog gives the instance id, for which " +
               std::to_string(unknownInstance) + " stands here ==\n\n" +
               requestsOfOneCheck(line, temporary.storage, send);
    }
    text += "== " + std::string(registered ? "Every check" : "Every later check") +
            "; \"updates=\" is followed by their number ==\n\n" +
            requestsOfOneCheck(line, temporary.storage, send);
    return console::print(shown(text));
}

ExitStatus showRequests(const CommandLine& line) {
    const Inventory inventory = scanInventory(line);
    if (!inventory.hasFolder) return console::fail(ExitStatus::nothingScanned, lackOfFolders(inventory));
    if (inventory.apps.empty()) {
        return console::print("Nothing would be sent: no applications were found in " +
                              onOneLine(enumeration(inventory.folders)) + ".\n");
    }
    return previewRequests(line, [&](UpdateCheckService& service, Task done) {
        service.check(inventory.apps, std::make_shared<std::vector<ScanIssue>>(inventory.issues),
                      checkTrigger, [done = std::move(done)](const auto&) mutable { done(); });
    });
}

}  // namespace quorvel
