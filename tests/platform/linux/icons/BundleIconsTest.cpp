#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <memory>
#include <sstream>
#include <sys/stat.h>

#include "platform/linux/icons/BundleIcons.h"
#include "platform/linux/icons/IconSamples.h"
#include "platform/linux/icons/PngDecoder.h"
#include "support/FakePanel.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

/// Bundles by name, and the decoder that `open` is told to use for their icons.
class BundleIconsTest : public testing::Test {
protected:
    void SetUp() override { complaints = std::cerr.rdbuf(said.rdbuf()); }
    void TearDown() override {
        icons.reset();
        EXPECT_TRUE(comesTrue([] { return !hasChild(); })) << "a decoder outlives the program";
        std::cerr.rdbuf(complaints);
    }

    void open(std::vector<std::string> command, const IconLimits& limits = {}) {
        icons = std::make_unique<BundleIcons>(queue, std::move(command), limits);
        arrival = icons->onArrival([this](const auto& some) {
            auto& names = arrivals.emplace_back();
            for (const auto& icon : some)
                names.push_back(std::filesystem::path(icon.bundle).filename());
        });
    }
    void openFake(const IconLimits& limits = {}, const std::string& start = "") {
        std::vector<std::string> command{FAKE_DECODER, folder.path.string()};
        if (!start.empty()) command.push_back(start);
        open(std::move(command), limits);
    }

    void add(const std::string& name, const std::string& content) const {
        folder.write(name + "/Contents/Info.plist",
                     "<plist><dict><key>CFBundleIconFile</key><string>Icon</string></dict></plist>");
        folder.write(name + "/Contents/Resources/Icon.icns", content);
    }

    void list(const std::vector<std::string>& names) {
        std::vector<BundleIcon> bundles;
        for (const auto& name : names)
            bundles.push_back({folder.path / name});
        icons->setListed(bundles);
    }

    bool has(const std::string& name) const { return icons->pngFor({folder.path / name}).has_value(); }

    bool comesTrue(const std::function<bool()>& condition) { return runUntil(queue, condition); }
    bool arrives(std::size_t count) {
        return comesTrue([&] { return arrivals.size() >= count; });
    }
    int timesSaid(const std::string& text) const { return countIn(said.str(), text); }
    int timesTold(const std::string& line) const { return countIn(folder.read("told"), line + '\n'); }

    static int countIn(const std::string& all, const std::string& text) {
        int count = 0;
        for (auto at = all.find(text); at != std::string::npos; at = all.find(text, at + 1))
            ++count;
        return count;
    }

    static bool hasChild() {
        const auto self = std::to_string(getpid());
        return !TemporaryFolder::contentOf("/proc/" + self + "/task/" + self + "/children").empty();
    }

    TemporaryFolder folder;
    EventQueue queue;
    std::ostringstream said;
    std::streambuf* complaints = nullptr;
    std::unique_ptr<BundleIcons> icons;
    std::shared_ptr<const IconProvider::Arrival> arrival;
    std::vector<std::vector<std::string>> arrivals;
};

TEST_F(BundleIconsTest, decodesWhatIsListedAndKeepsNoDecoderAfterwards) {
    constexpr Colour red{250, 10, 20, 255}, green{30, 240, 40, 255};
    open({PROGRAM_FOLDER "/quorvel-icons"});
    add("Old.app", iconFile(rawIcon("il32", "l8mk", 32, red)));
    add("New.app", iconFile(iconChunk("ic11", pngOf(32, green))));
    add("Cut.app", iconFile(iconChunk("ic11", pngOf(32, green))).substr(0, 60));
    add("Fifo.app", "");
    const auto fifo = folder.path / "Fifo.app/Contents/Resources/Icon.icns";
    fs::remove(fifo);
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    list({"Cut.app", "Old.app", "Fifo.app", "Missing.app", "New.app", "Old.app"});
    EXPECT_FALSE(has("Old.app")) << "nothing is waited for";
    ASSERT_TRUE(arrives(1));
    EXPECT_EQ(arrivals, (std::vector<std::vector<std::string>>{{"Old.app", "New.app"}}));
    for (const auto& [name, colour] : {std::pair{"Old.app", red}, {"New.app", green}}) {
        const auto bitmap = decodedPng(icons->pngFor({folder.path / name}).value());
        ASSERT_TRUE(bitmap && bitmap->width == icons::side && bitmap->height == icons::side) << name;
        EXPECT_TRUE(std::equal(colour.begin(), colour.end(), bitmap->rgba.begin())) << name;
    }
    for (const char* none : {"Cut.app", "Fifo.app", "Missing.app", "Unlisted.app"})
        EXPECT_FALSE(has(none)) << none;
    EXPECT_TRUE(comesTrue([] { return !hasChild(); })) << "a decoder stays though nothing is to decode";
    EXPECT_EQ(said.str(), "");
}

TEST_F(BundleIconsTest, aFileThatCostsADecoderHasNoPictureAndIsGivenToNoOther) {
    struct Row {
        std::string does;
        const char* reason;
    };
    const Row rows[] = {
        {"die", "It ended."},   {"hang", "It did not answer in time."}, {"short", "It talks nonsense."},
        {"empty", "It ended."}, {"unknown", "It talks nonsense."},      {"ready", "It talks nonsense."}};
    for (const auto& [does, reason] : rows) {
        IconLimits limits;
        limits.gathering = std::chrono::seconds(60);
        limits.pictureTime = std::chrono::seconds(does == "hang" ? 3 : 60);
        folder.write("told", "");
        arrivals.clear();
        said.str("");
        openFake(limits);
        add("1.app", "picture");
        add("2.app", does);
        add("3.app", "picture");
        list({"1.app", "2.app", "3.app"});
        ASSERT_TRUE(arrives(1)) << does;
        EXPECT_EQ(arrivals, (std::vector<std::vector<std::string>>{{"1.app", "3.app"}})) << does;
        EXPECT_FALSE(has("2.app")) << does;
        EXPECT_EQ(timesSaid(reason), 1) << does << ": " << said.str();
        list({});
        list({"2.app", "3.app"});
        ASSERT_TRUE(arrives(2)) << does;
        EXPECT_EQ(arrivals.back(), std::vector<std::string>{"3.app"}) << does;
        EXPECT_EQ(timesTold(does), 1);
        EXPECT_EQ(timesTold("start"), 3) << does << ": one, one in its place, and one for the second list";
    }
}

TEST_F(BundleIconsTest, withoutADecoderThereAreNoPicturesAndTheNextListTriesAnew) {
    struct Row {
        const char* start;
        const char* reason;
    };
    const Row rows[] = {
        {"die", "It ended."}, {"hang", "It did not answer in time."}, {"picture", "nonsense"}};
    add("1.app", "picture");
    add("2.app", "picture");
    for (const auto& [start, reason] : rows) {
        said.str("");
        IconLimits limits;
        // Long enough for all but the one that hangs.
        limits.startTime = start == std::string("hang") ? milliseconds(1) : milliseconds(60'000);
        openFake(limits, start);
        list({"1.app", "2.app"});
        ASSERT_TRUE(comesTrue([&] { return timesSaid(reason) == 1; })) << start << said.str();
        list({"2.app"});
        list({"2.app", "3.app", "1.app"});
        ASSERT_TRUE(comesTrue([&] { return timesSaid(reason) == 2; })) << start;
        EXPECT_TRUE(arrivals.empty());
    }
    said.str("");
    open({(folder.path / "missing").string()});
    list({"1.app"});
    EXPECT_TRUE(comesTrue([&] { return timesSaid("did not start") == 1; }));
}

TEST_F(BundleIconsTest, losesNoMoreDecodersThanItMay) {
    IconLimits limits;
    limits.mostLost = 2;
    openFake(limits);
    for (const char* bad : {"1.app", "2.app", "3.app"})
        add(bad, "die");
    add("4.app", "picture");
    list({"1.app", "2.app", "3.app", "4.app"});
    ASSERT_TRUE(comesTrue([&] { return timesSaid("is gone") == 2; }));
    list({"4.app"});
    bool isOver = false;
    queue.post([&] { queue.post([&] { isOver = true; }); });
    ASSERT_TRUE(comesTrue([&] { return isOver; }));
    EXPECT_EQ(timesTold("start"), 2);
    EXPECT_TRUE(comesTrue([] { return !hasChild(); }));
}

TEST_F(BundleIconsTest, decodesAgainOnlyWhatWasForgottenMeanwhile) {
    openFake();
    add("1.app", "picture 1");
    add("2.app", "picture 2");
    list({"1.app", "2.app"});
    ASSERT_TRUE(arrives(1));
    list({"2.app"});
    EXPECT_FALSE(has("1.app"));
    EXPECT_TRUE(has("2.app")) << "without a gap";
    list({"2.app", "1.app"});
    ASSERT_TRUE(arrives(2));
    EXPECT_EQ(arrivals.back(), std::vector<std::string>{"1.app"});
    EXPECT_EQ(timesTold("picture 1"), 2);
    EXPECT_EQ(timesTold("picture 2"), 1);
}

TEST_F(BundleIconsTest, whatHasComeIsNotHeldBackByAPictureThatTakesLong) {
    IconLimits limits;
    limits.gathering = milliseconds(1);
    limits.pictureTime = std::chrono::minutes(10);
    openFake(limits);
    add("1.app", "picture");
    add("2.app", "hang");
    list({"1.app", "2.app"});
    ASSERT_TRUE(arrives(1));
    EXPECT_EQ(arrivals, (std::vector<std::vector<std::string>>{{"1.app"}}));
    EXPECT_TRUE(comesTrue([&] { return timesTold("hang") == 1; }));
}

TEST_F(BundleIconsTest, aThousandMenusDoNotMakeTheCacheGrow) {
    openFake();
    for (int number = 0; number < 50; ++number)
        add(std::to_string(number) + ".app", "picture");
    const auto residentPages = [] {
        long size = 0, resident = 0;
        std::ifstream("/proc/self/statm") >> size >> resident;
        return resident;
    };
    [[maybe_unused]] long before = 0;
    for (int menu = 0; menu < 1000; ++menu) {
        const auto name = [&](int offset) { return std::to_string((menu + offset) % 50) + ".app"; };
        list({name(0), name(1), name(2), "gone " + std::to_string(menu) + ".app"});
        if (menu % 10 == 0) {
            ASSERT_TRUE(comesTrue([&] { return has(name(0)) && has(name(2)); })) << menu;
        }
        EXPECT_FALSE(has(name(49)));
        if (menu == 200) before = residentPages();
    }
#ifndef __SANITIZE_ADDRESS__  // which keeps what was freed
    EXPECT_LE(residentPages(), before + 64);
#endif
    EXPECT_EQ(said.str(), "");
}

TEST_F(BundleIconsTest, tasksThatOutliveItDoNothing) {
    openFake();
    add("1.app", "picture");
    list({"1.app"});
    icons.reset();
    bool isOver = false;
    queue.post([&] { isOver = true; });
    EXPECT_TRUE(comesTrue([&] { return isOver; }));
    EXPECT_TRUE(arrivals.empty());
}

}  // namespace
}  // namespace quorvel
