#include "support/FakePathMonitor.h"
#include "support/PathMonitorContract.h"

namespace quorvel {
namespace {

/// Its reports come on a thread each, as those of a real monitor come on its queue.
class FakeHost {
public:
    ~FakeHost() {
        for (std::thread& queue : queues)
            queue.join();
    }

    std::unique_ptr<PathMonitor> makeMonitor() {
        paths.push_back(std::make_shared<FakePath>());
        return std::make_unique<FakePathMonitor>(paths.back());
    }

    void started() { reportOn(paths.back()); }

    void setSatisfied(bool satisfied) {
        status = satisfied ? PathStatus::satisfied : PathStatus::unsatisfied;
        for (const auto& path : paths)
            reportOn(path);
    }

    std::string reasonToSkip() const { return {}; }

private:
    void reportOn(const std::shared_ptr<FakePath>& path) {
        queues.emplace_back([path, current = status] { path->report(current); });
    }

    PathStatus status = PathStatus::unsatisfied;
    std::vector<std::shared_ptr<FakePath>> paths;
    std::vector<std::thread> queues;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Fake, PathMonitorContract, FakeHost);

}  // namespace
}  // namespace quorvel
