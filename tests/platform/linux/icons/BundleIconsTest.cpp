#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <iostream>
#include <sstream>

#include "platform/linux/icons/BundleIcons.h"
#include "platform/linux/icons/Png.h"
#include "support/EventLoop.h"
#include "support/IconSamples.h"
#include "support/Texts.h"

namespace quorvel {
namespace {

using std::chrono::milliseconds;
using Lines = std::vector<std::string>;

/// Bundles by name, and the decoder that `open` is given for their icons.
class BundleIconsTest : public testing::Test {
protected:
    void SetUp() override { complaints = std::cerr.rdbuf(said.rdbuf()); }
    void TearDown() override {
        icons.reset();
        EXPECT_TRUE(decoderEnds()) << "a decoder outlives the program";
        std::cerr.rdbuf(complaints);
    }

    void open(Lines command, const IconLimits& limits = {}) {
        said.str("");
        arrivals.clear();
        folder.write("received", "");
        icons = std::make_unique<BundleIcons>(queue, std::move(command), limits);
        arrival = icons->onArrival([this](const auto& some) {
            for (const auto& icon : some)
                arrivals.push_back(std::filesystem::path(icon.bundle).filename());
        });
    }
    void openFake(const IconLimits& limits = {}) { open({FAKE_DECODER, folder.path.string()}, limits); }

    void add(const std::string& name, const std::string& content) const {
        folder.write(name + "/Contents/Info.plist",
                     "<plist><dict><key>CFBundleIconFile</key><string>Icon</string></dict></plist>");
        folder.write(name + "/Contents/Resources/Icon.icns", content);
    }
    void list(const Lines& names) {
        std::vector<BundleIcon> bundles;
        for (const auto& name : names)
            bundles.push_back({folder.path / name});
        icons->setListed(bundles);
    }

    std::optional<Bitmap> pictureOf(const std::string& name) const {
        const auto png = icons->pngFor({folder.path / name});
        return png ? decodedPng(*png) : std::nullopt;
    }
    bool comesTrue(const std::function<bool()>& condition) { return runUntil(queue, condition); }
    bool arrives(const Lines& names) {
        return comesTrue([&] { return arrivals == names; });
    }
    bool decoderEnds() {
        return comesTrue([] { return childProcess() < 0; });
    }
    int timesSaid(const std::string& text) const { return countIn(said.str(), text); }
    int timesReceived(const std::string& line) const { return countIn(folder.read("received"), line + '\n'); }

    TemporaryFolder folder;
    EventQueue queue;
    std::ostringstream said;
    std::streambuf* complaints = nullptr;
    std::unique_ptr<BundleIcons> icons;
    std::shared_ptr<const IconProvider::Arrival> arrival;
    Lines arrivals;
};

TEST_F(BundleIconsTest, decodesWhatIsListedAndKeepsNoDecoderAfterwards) {
    constexpr Colour red{250, 10, 20, 255}, green{30, 240, 40, 255};
    // It needs no stream but its input.
    open({"/bin/sh", "-c", "exec \"$0\" >&- 2>&-", PROGRAM_FOLDER "/quorvel-icons"});
    add("Old.app", iconFile(rawIcon("il32", "l8mk", 32, red)));
    add("New.app", iconFile(iconChunk("ic11", pngOf(32, green))));
    add("Cut.app", iconFile(""));
    list({"Cut.app", "Old.app", "Missing.app", "New.app", "Old.app"});
    EXPECT_FALSE(pictureOf("Old.app")) << "nothing is waited for";
    ASSERT_TRUE(arrives({"Old.app", "New.app"}));
    for (const auto& [name, colour] : {std::pair{"Old.app", red}, {"New.app", green}}) {
        const auto bitmap = pictureOf(name);
        ASSERT_TRUE(bitmap && bitmap->width == icons::side && bitmap->height == icons::side) << name;
        EXPECT_TRUE(std::equal(colour.begin(), colour.end(), bitmap->rgba.begin())) << name;
    }
    for (const char* none : {"Cut.app", "Missing.app", "Unlisted.app"})
        EXPECT_FALSE(icons->pngFor({folder.path / none})) << none;
    EXPECT_TRUE(decoderEnds()) << "a decoder stays though nothing is to decode";
    EXPECT_EQ(said.str(), "");
}

TEST_F(BundleIconsTest, aFileThatCrashesItsDecoderHasNoPictureAndIsGivenToNoOther) {
    for (const char* const does : {"die", "unknown"}) {
        openFake();
        add("1.app", "picture 1");
        add("2.app", does);
        add("3.app", "picture 3");
        list({"1.app", "2.app", "3.app"});
        ASSERT_TRUE(arrives({"1.app", "3.app"})) << does;
        EXPECT_FALSE(pictureOf("2.app")) << does;
        EXPECT_EQ(timesSaid("gone over " + folder.path.string() + "/2.app. It "), 1) << said.str();
        list({"3.app"});
        EXPECT_FALSE(pictureOf("1.app"));
        EXPECT_TRUE(pictureOf("3.app")) << "without a gap";
        list({"2.app", "3.app", "1.app"});
        ASSERT_TRUE(arrives({"1.app", "3.app", "1.app"})) << "what was forgotten is decoded again: " << does;
        EXPECT_EQ(timesReceived("picture 1"), 2);
        EXPECT_EQ(timesReceived("picture 3"), 1);
        EXPECT_EQ(timesReceived(does), 1);
        EXPECT_EQ(timesReceived("start"), 3) << does << ": one, one in its place, and one for the last list";
    }
}

TEST_F(BundleIconsTest, withoutADecoderThereAreNoPicturesAndTheNextListTriesAnew) {
    add("1.app", "picture");
    add("2.app", "picture");
    for (const auto& [program, reason] :
         {std::pair{"/bin/false", "It ended."}, {SOURCE_ROOT "/none", "did not start"}}) {
        open({program});
        for (const int tries : {1, 2}) {
            list({"1.app"});
            list({"1.app", "2.app"});
            ASSERT_TRUE(comesTrue([&] { return timesSaid(reason) >= tries; })) << reason << said.str();
            ASSERT_TRUE(decoderEnds());
            runWhatIsReady(queue);
            EXPECT_EQ(timesSaid(reason), tries) << "one decoder a list";
            list({});
        }
        EXPECT_EQ(arrivals, Lines());
    }
}

TEST_F(BundleIconsTest, aPictureThatTakesLongHoldsNothingBackAndIsGivenUpInTheEnd) {
    openFake({.pictureTimeout = milliseconds(1000), .debounce = milliseconds(1)});
    add("1.app", "picture");
    add("2.app", "hang");
    list({"1.app", "2.app"});
    ASSERT_TRUE(arrives({"1.app"}));
    EXPECT_EQ(said.str(), "");
    EXPECT_TRUE(comesTrue([&] { return timesSaid("2.app. It did not answer in time.") == 1; }));
    list({});
    list({"1.app"});
    icons.reset();  // what is queued for it does nothing
}

}  // namespace
}  // namespace quorvel
