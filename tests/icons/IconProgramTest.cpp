#include <fcntl.h>
#include <gtest/gtest.h>
#include <optional>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include "platform/FileDescriptor.h"
#include "platform/linux/EventQueue.h"
#include "platform/linux/icons/FilePassing.h"
#include "platform/linux/icons/IconMessages.h"
#include "platform/linux/icons/IconSamples.h"
#include "platform/linux/process/ChildProcess.h"

namespace quorvel {
namespace {

using icons::Answer;

constexpr Colour red{250, 10, 20, 255}, green{30, 240, 40, 255}, blue{50, 60, 230, 128};

/// quorvel-icons itself, behind its fence.
class IconProgramTest : public testing::Test {
protected:
    void SetUp() override { start({PROGRAM_FOLDER "/quorvel-icons"}); }

    void start(std::vector<std::string> command) {
        auto started =
            ChildProcess::start(queue.event(), {.command = std::move(command),
                                                .socketType = SOCK_SEQPACKET,
                                                .passesOn = [](std::string_view) { return true; }});
        ASSERT_TRUE(started) << started.error();
        program.emplace(std::move(*started));
        const timeval patience{60, 0};
        setsockopt(program->socket(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        const auto hello = answer();
        ASSERT_TRUE(hello && hello->kind == Answer::Kind::ready);
    }

    /// None when the program has ended, hangs, or sends something else.
    std::optional<Answer> answer() const {
        Answer message;
        const auto count = recv(program->socket(), &message, sizeof message, MSG_TRUNC);
        return count == sizeof message ? std::optional(message) : std::nullopt;
    }

    void send(int file) const { ASSERT_TRUE(sendFile(program->socket(), file)); }

    std::optional<Answer> decode(const std::string& content) const {
        const FileDescriptor file(memfd_create("icon", MFD_CLOEXEC));
        EXPECT_EQ(write(file.get(), content.data(), content.size()), static_cast<ssize_t>(content.size()));
        lseek(file.get(), 0, SEEK_SET);
        send(file.get());
        return answer();
    }

    /// The colour of a picture that has only one; all zeros where there is no picture.
    Colour colourOf(const std::string& content) const {
        const auto decoded = decode(content);
        EXPECT_TRUE(decoded) << "the program is gone";
        if (!decoded || decoded->kind != Answer::Kind::picture) return {};
        Colour first{};
        for (std::size_t byte = 0; byte < decoded->pixels.size(); ++byte) {
            if (byte < 4) first[byte] = decoded->pixels[byte];
            EXPECT_EQ(decoded->pixels[byte], first[byte % 4]) << "byte " << byte;
            if (decoded->pixels[byte] != first[byte % 4]) break;
        }
        return first;
    }

    EventQueue queue;
    std::optional<ChildProcess> program;
};

TEST_F(IconProgramTest, givesThePictureThatSuitsBest) {
    const auto png = [](const char* type, int side, Colour colour) {
        return iconChunk(type, pngOf(side, colour));
    };
    struct Row {
        const char* name;
        std::string file;
        Colour expected;
    };
    const Row rows[] = {
        {"16, the old kind", rawIcon("is32", "s8mk", 16, red), red},
        {"32, the old kind", rawIcon("il32", "l8mk", 32, green), green},
        {"16, packed with alpha", argbIcon("ic04", 16, blue), blue},
        {"32, packed with alpha", argbIcon("ic05", 32, green) + png("ic07", 128, red), green},
        {"48, the old kind", rawIcon("ih32", "h8mk", 48, red), red},
        {"128, the old kind", rawIcon("it32", "t8mk", 128, blue), blue},
        {"32 and larger", png("ic07", 128, red) + png("ic11", 32, blue) + png("ic08", 256, red), blue},
        {"16 and larger", png("icp4", 16, red) + png("ic08", 256, red) + png("icp6", 64, green), green},
        {"a larger one that is none", iconChunk("ic11", "nothing") + png("icp4", 16, green), green},
        {"one in a format that is not read",
         iconChunk("ic11", std::string("\0\0\0\fjP  \r\n\x87\n", 12)) + png("ic07", 128, green), green},
        {"1024 alone", png("ic10", 1024, blue), blue},
        {"another size than its type says", png("ic11", 300, red), red},
    };
    for (const auto& [name, file, expected] : rows)
        EXPECT_EQ(colourOf(iconFile(file)), expected) << name;
}

TEST_F(IconProgramTest, aPictureKeepsItsPlacesAndItsTransparency) {
    Bitmap bitmap{.width = 512, .height = 512, .rgba = {}};
    for (int y = 0; y < 512; ++y) {
        for (int x = 0; x < 512; ++x) {
            const bool isRight = x >= 256, isBelow = y >= 256;
            // What lies under full transparency has a colour too, which must not shine through.
            const Colour colour = isRight && isBelow ? Colour{255, 255, 255, 0} : isBelow ? green : red;
            bitmap.rgba.insert(bitmap.rgba.end(), colour.begin(), colour.end());
        }
    }
    const auto png = encodedPng(bitmap);
    const auto decoded = decode(iconFile(iconChunk("ic09", std::string(png.begin(), png.end()))));
    ASSERT_TRUE(decoded && decoded->kind == Answer::Kind::picture);
    const auto at = [&](int x, int y) {
        const auto* const pixel = decoded->pixels.data() + (y * icons::side + x) * 4;
        return Colour{pixel[0], pixel[1], pixel[2], pixel[3]};
    };
    EXPECT_EQ(at(2, 2), red);
    EXPECT_EQ(at(29, 2), red);
    EXPECT_EQ(at(2, 29), green);
    EXPECT_EQ(at(29, 29)[3], 0);
    EXPECT_EQ(at(14, 29), green) << "no white edge";
}

TEST_F(IconProgramTest, decodesNoOtherFormat) {
    const std::string gif("GIF89a\1\0\1\0\x80\0\0\xFF\0\0\0\0\0,\0\0\0\0\1\0\1\0\0\2\2D\1\0;", 35);
    const std::string others[] = {gif,
                                  pngOf(32, red),
                                  "",
                                  "icns",
                                  iconFile(""),
                                  iconFile(iconChunk("ic11", gif)),
                                  iconFile(iconChunk("icp4", gif))};
    for (const auto& other : others)
        EXPECT_EQ(colourOf(other), Colour{}) << other.substr(0, 20);
}

TEST_F(IconProgramTest, boundsWhatAnIconMayTake) {
    constexpr std::size_t largest = 8 * 1024 * 1024;
    const std::string picture = rawIcon("il32", "l8mk", 32, green);
    const std::string head = iconFile(picture);
    EXPECT_EQ(colourOf(head + std::string(largest - head.size(), '\0')), green);
    EXPECT_EQ(colourOf(head + std::string(largest + 1 - head.size(), '\0')), Colour{});

    // Pictures past the 64th are not looked at.
    std::string many;
    for (int count = 0; count < 63; ++count)
        many += iconChunk("ic11", "none");
    EXPECT_EQ(colourOf(iconFile(many + picture)), green);
    EXPECT_EQ(colourOf(iconFile(many + iconChunk("ic11", "none") + picture)), Colour{});

    // No icon is larger than 1024 by 1024 pixels.
    EXPECT_EQ(colourOf(iconFile(iconChunk("ic10", pngOf(1025, red)))), Colour{});
    EXPECT_EQ(colourOf(head), green) << "still at work";
}

TEST_F(IconProgramTest, needsNoStreamsButItsInput) {
    start({"/bin/sh", "-c", "exec \"$0\" >&- 2>&-", PROGRAM_FOLDER "/quorvel-icons"});
    EXPECT_EQ(colourOf(iconFile(rawIcon("is32", "s8mk", 16, red))), red);
}

TEST_F(IconProgramTest, aFileThatIsNoFileIsNone) {
    send(open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const auto folder = answer();
    EXPECT_TRUE(folder && folder->kind == Answer::Kind::none);
}

TEST_F(IconProgramTest, endsWithTheProgramAndAtNonsense) {
    ASSERT_EQ(::send(program->socket(), "?", 1, 0), 1) << "a request without a file";
    EXPECT_EQ(recv(program->socket(), nullptr, 0, 0), 0) << "it goes on";
}

}  // namespace
}  // namespace quorvel
