#include <gtest/gtest.h>

#include "cli/fleet/FleetEvaluation.h"
#include "cli/fleet/FleetOutline.h"
#include "support/BinaryPropertyListWriter.h"

namespace quorvel {
namespace {

struct Sample {
    std::string bytes;
    /// All lines but for the ends of reasons.
    std::string outline;
};

std::string row(const std::string& members) {
    return R"([{"bundle_identifier":"i","bundle_name":"N","bundle_short_version":"1",)" + members + "}]";
}

std::string app(const std::string& path) {
    return "file: N=1<i>" + path + "\n";
}

/// One line of an osqueryd log.
std::string snapshot(const std::string& host, const std::string& time, const std::string& rows) {
    return R"({"action":"snapshot","snapshot":)" + rows + R"(,"unixTime":)" + time +
           R"(,"hostIdentifier":")" + host + "\"}\n";
}

std::string report(const std::string& rest) {
    return R"({"query_id":31,"report_clipped":false,"results":[)" + rest + "]}";
}

std::string plist(const std::string& content) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + content + "</plist>\n";
}

std::string binaryInventory() {
    BinaryPropertyListWriter list;
    const auto row = list.dictionary(
        {{list.text("bundleid"), list.text("i")}, {list.text("version"), list.text(u"1\u00B2")}});
    return list.finish(list.array({row, list.text("no row")}));
}

const std::string oldRow = R"([{"bundle_identifier":"i","name":"Old.app","bundle_version":"1"}])";
const std::string newRow = R"([{"bundle_identifier":"i","name":"New.app","bundle_version":"2"}])";

const std::string none =
    "not_an_inventory file.json: It is none of the inventories that are read: osquery's rows, an osqueryd "
    "log "
    "of snapshots, a Fleet query report, munki's property list.\n";
const std::string noIdentifiers =
    "no_bundle_identifiers file.json: No row has a bundle identifier, and nothing else ties an application "
    "to "
    "the catalog's entry: the query has to select the column bundle_identifier.\n";
const std::string profilerReport =
    "no_bundle_identifiers file.json: A report of system_profiler has no bundle identifiers, and nothing "
    "else "
    "ties an application to the catalog's entry.\n";
const std::string differences =
    "differential_log file.json: The log has differences between results (\"added\" and \"removed\"), which "
    "cannot stand for an inventory: the scheduled query has to say \"snapshot\": true.\n";

/// What a row stands for.
const std::vector<Sample> rows{
    {row(R"("path":"/Applications/N.app","hostname":"h","os_version":"14.5")"),
     "h on 14.5.0: N=1<i>/Applications/N.app\n"},
    {row(R"("path":"/Users/u/Applications/Sub/N.app")"), app("/Users/u/Applications/Sub/N.app")},
    {row(R"("path":"/System/Applications/N.app","extra":[{"a":null}],"os_version":26)"),
     "file on 26.0.0: N=1<i>/System/Applications/N.app\n"},
    {row(R"("path":"")"), app("")},
    {row(R"("path":"/Applications/.N.app")"), "file: +1\n"},
    {row(R"("path":"/Applications/.hidden/N.app")"), "file: +1\n"},
    {row(R"("path":"/Applications/Outer.app/Contents/N.app")"), "file: +1\n"},
    {row(R"("path":"/Applications/N.APP")"), "file: +1\n"},
    {row(R"("path":"/Library/N.app")"), "file: +1\n"},
    {row(R"("path":"/Users/Applications/N.app")"), "file: +1\n"},
    {R"([{"bundle_identifier":"com.ob.quorvel","bundle_version":"1"}])", "file:\n"},
    {R"([{"bundle_identifier":"","path":"/Applications/File Name.app","bundle_version":12}])",
     "file: File Name=12<>/Applications/File Name.app\n"},
    {R"([{"bundle_identifier":"i","name":"B","bundle_short_version":"","bundle_version":1.1}])",
     "file: !B no version\n"},
    {R"([{"bundle_identifier":"i","bundle_version":true,"bundle_short_version":null}])",
     "file: !i no version\n"},
    {"[{\"bundle_identifier\":\"i\",\"name\":\"a\xFF\",\"bundle_version\":\"1\"},"
     "{\"bundle_identifier\":\"j\",\"name\":\"\\ud800\",\"bundle_version\":\"1\"}]",
     "file: !a\uFFFD row is no valid text !\uFFFD row is no valid text\n"},
    {R"([{"bundle_identifier":"i","path":"/Applications/N.app","bundle_version":"1"},)"
     R"({"bundle_identifier":"i","path":"/Applications/N.app","bundle_version":"2"},)"
     R"({"bundle_identifier":"i","path":"/Applications/A.app","bundle_version":"3"}])",
     "file: A=3<i>/Applications/A.app N=1<i>/Applications/N.app\n"},
    {R"([{"bundle_identifier":"i","bundle_version":"1","hostname":"b\"\n"},)"
     R"({"bundle_identifier":"i","bundle_version":"2","hostname":"../../x"},)"
     R"({"bundle_identifier":"j","bundle_version":"3","hostname":"b\"\n"}])",
     "../../x: i=2<i>\nb\"\n: i=1<i> j=3<j>\n"},
    {"\xEF\xBB\xBF []", "file:\n"},
};

/// What a file is, whole or not.
const std::vector<Sample> formats{
    {snapshot("h", "1700000000", oldRow) + snapshot("h", "\"1700000060\"", newRow) +
         snapshot("h", "1700000030", oldRow) + snapshot("h", "1700000090", "[]") +
         snapshot("h", "1700000090", R"([{"pid":"1"}])"),
     "h at 2023-11-14T22:14:20Z: New=2<i>\n"},
    {snapshot("h", "1", oldRow) + "{\"action\":\"added\",\"columns\":{\"pid\":\"1\"}}\n",
     "h at 1970-01-01T00:00:01Z: Old=1<i>\n"},
    {snapshot("h", "1", oldRow) + "{\"action\":\"removed\",\"columns\":{\"bundle_identifier\":\"i\"}}\n",
     "h at 1970-01-01T00:00:01Z: Old=1<i>\n" + differences},
    {R"({"diffResults":{"added":[{"bundle_identifier":"i"}],"removed":[]},"hostIdentifier":"h"})",
     differences},
    {snapshot("h", "1", R"([{"name":"Old.app","path":"/Applications/Old.app"}])"), noIdentifiers},
    {snapshot("a", "1", oldRow) + "{\"action\":\"snapshot\",\"snapshot\":[{\"na\n" +
         snapshot("b", "1", newRow),
     "a at 1970-01-01T00:00:01Z: Old=1<i>\nb at 1970-01-01T00:00:01Z: New=2<i>\n"
     "damaged file.json: It is no valid JSON at byte "},
    {snapshot("a", "1", oldRow) + "{\"action\":\"snapshot\",\"snapshot\":[{\"na",
     "a at 1970-01-01T00:00:01Z: Old=1<i>\ndamaged file.json: It is cut off: it ends in the middle of a "
     "value"},
    {report(R"({"host_id":1,"host_name":"foo","last_fetched":"2024-01-19T01:23:45Z","columns":)"
            R"({"bundle_identifier":"i","bundle_version":3}},)"
            R"({"host_id":2,"host_name":"bar","last_fetched":"2024-01-19T02:23:45.5+01:00","columns":)"
            R"({"bundle_identifier":"i","bundle_version":"4","hostname":"bar.local"}},)"
            R"({"host_id":1,"host_name":"foo","last_fetched":"2024-01-21T00:00:00+01:xx","columns":{}},)"
            R"({"host_id":1,"host_name":"foo","last_fetched":"2024-01-20T00:00:00Z","columns":)"
            R"({"bundle_identifier":"j","bundle_version":"5"}})"),
     "bar.local at 2024-01-19T01:23:45Z: i=4<i>\nfoo at 2024-01-20T00:00:00Z: i=3<i> j=5<j> !(no name) no "
     "version\n"},
    {report(R"({"host_id":1,"host_name":"foo","columns":{"bundle_identifier":"i","bundle_version":"1"}},)"
            R"({"host_id":2,"host_name":"foo","columns":{"bundle_identifier":"i","bundle_version":"2"}})"),
     "duplicate_host file.json foo: Two hosts have this name, number 1 of file.json and number 2 of "
     "file.json."},
    {R"({"results":[{"host_name":"h","columns":{"bundle_identifier":"i"}}],"report_clipped":true})",
     "h: !i no version\nclipped_report file.json: Fleet has cut the report off "
     "(\"report_clipped\"): hosts are missing from it.\n"},
    {report(""), "not_an_inventory file.json: There is no host in this report."},
    {plist("<array><dict><key>bundleid</key><string>i</string><key>name</key><string>File</string>"
           "<key>CFBundleName</key><string>N</string><key>version</key><string>1</string>"
           "<key>path</key><string>/Applications/File.app</string></dict>"
           "<dict><key>bundleid</key><string>j</string><key>version</key><string>0.0.0.0.0</string>"
           "<key>more</key><array><dict><key>version</key><string>7</string></dict></array></dict></array>"),
     "file: N=1<i>/Applications/File.app !j no version\n"},
    {binaryInventory(), "file: i=1\u00B2<i>\n"},
    {plist("<array><dict><key>_dataType</key><string>SPApplicationsDataType</string></dict></array>"),
     profilerReport},
    {R"({"SPApplicationsDataType":[{"_name":"N","version":"1"}]})", profilerReport},
    {R"([{"name":"N.app","bundle_version":"1"}])", noIdentifiers},
    {plist("<dict/>"), none},
    {plist("<array>"), "damaged file.json: It is no property list that can be read whole."},
    {"bplist00", "damaged file.json: It is no property list that can be read whole."},
    {oldRow + "x", "damaged file.json: It is no valid JSON"},
    {"", "not_an_inventory file.json: It is empty."},
    {"hostname,path\n", none},
    {R"([1,2])", none},
    {R"([{"pid":"1"}])", none},
    {R"({"a":{"b":1},"c":[[]]})", none},
    {"[" + std::string(33, '[') + std::string(33, ']') + "]",
     "too_large file.json: A value is nested more than 32 levels deep"},
    {R"([{"bundle_identifier":"i"},])", "damaged file.json: It is no valid JSON"},
    {R"([{"bundle_identifier":"i"} {}])", "damaged file.json: It is no valid JSON"},
    {R"([{"bundle_identifier":["i"}])", "damaged file.json: It is no valid JSON"},
    {R"({"report_clipped"true,"results":[]})", "damaged file.json: It is no valid JSON"},
};

/// Whether every line of the outline begins as it should.
void expectOutline(const Sample& sample, std::size_t pieceSize) {
    const auto found = outlineOf(sample.bytes, pieceSize);
    const bool isWhole = sample.outline.ends_with('\n');
    EXPECT_TRUE(isWhole ? found == sample.outline : found.starts_with(sample.outline))
        << sample.bytes << "\nin pieces of " << pieceSize << "\n"
        << found << "instead of\n"
        << sample.outline;
    EXPECT_EQ(std::ranges::count(found, '\n'), std::ranges::count(sample.outline, '\n') + (isWhole ? 0 : 1))
        << found;
}

TEST(InventoryReader, readsWhatEachMakerWritesInPiecesOfAnySize) {
    for (const auto* samples : {&rows, &formats}) {
        for (const auto& sample : *samples) {
            for (const std::size_t pieceSize : {std::size_t{1}, std::size_t{7}, std::size_t{1} << 20})
                expectOutline(sample, pieceSize);
        }
    }
}

TEST(InventoryReader, takesNothingOfAnInventoryThatIsCut) {
    for (const auto& sample : rows) {
        for (std::size_t size = 5; size + 1 < sample.bytes.size(); ++size) {
            const auto outline = outlineOf(std::string_view(sample.bytes).substr(0, size));
            EXPECT_TRUE(outline.starts_with("damaged file.json: ") && outline.contains("byte"))
                << sample.bytes.substr(0, size) << "\n"
                << outline;
        }
    }
}

TEST(InventoryReader, boundsWhatAHostileInventoryCosts) {
    const std::string head = R"([{"bundle_identifier":"i","bundle_version":"1","name":")";
    const std::string longest(JsonPieces::maxPiece - head.size() - 2, 'n');
    EXPECT_TRUE(outlineOf(head + longest + "\"}]").starts_with("file: nnn"));
    std::size_t handedOut = 0;
    Fleet fleet;
    readInventory(fleet, "endless", "endless", [&](std::span<char> room) {
        std::ranges::fill(room, 'x');
        if (handedOut == 0) std::ranges::copy(head, room.begin());
        handedOut += room.size();
        return static_cast<std::ptrdiff_t>(room.size());
    });
    EXPECT_LT(handedOut, 3 * JsonPieces::maxPiece);
    EXPECT_TRUE(
        outlineOf(fleet).starts_with("too_large endless: A value is longer than 1048576 bytes at byte "))
        << outlineOf(fleet);

    std::string manyRows = "[";
    for (int index = 0; index < 100'001; ++index)
        manyRows += R"({"bundle_identifier":"i","bundle_version":"1"},)";
    manyRows.back() = ']';
    EXPECT_EQ(outlineOf(manyRows), "too_large file.json file: The host has more than 100000 rows.\n");
    EXPECT_EQ(outlineOf(plist("<array>" + std::string(9'000'000, ' ') + "</array>")),
              "too_large file.json: The property list is longer than 8388608 bytes.\n");
}

TEST(Fleet, takesTheNewestOfSeveralInventoriesOfAHostOrNone) {
    const std::string newest = "h at 1970-01-01T00:00:02Z: New=2<i>\n";
    const auto duplicate = [](const std::string& host) {
        return "duplicate_host a.json " + host +
               ": Two inventories are of this host, a.json and b.json, and no " +
               "times say which is newer.\n";
    };
    const struct {
        std::string first, second, outline;
    } table[] = {
        {snapshot("h", "1", oldRow), snapshot("h", "2", newRow), newest},
        {snapshot("h", "2", newRow), snapshot("h", "1", oldRow), newest},
        {snapshot("h", "1", newRow), snapshot("h", "1", oldRow), duplicate("h")},
        {snapshot("file", "1", newRow), oldRow, duplicate("file")},
    };
    for (const auto& [first, second, outline] : table) {
        Fleet fleet;
        readInventory(fleet, "a.json", "file", readerOf(first, 100));
        readInventory(fleet, "b.json", "file", readerOf(second, 100));
        fleet.settle();
        EXPECT_EQ(outlineOf(fleet), outline);
    }
}

TEST(FleetEvaluation, asksForEachIdentifierOnceByTheNameThatMostRowsHave) {
    Fleet fleet;
    const std::pair<const char*, const char*> listed[] = {{"Old", "z"}, {"Renamed", "z"}, {"Renamed", "z"},
                                                          {"Tie", "y"}, {"Even", "y"},    {"Nameless", ""}};
    for (const auto& [name, identifier] : listed)
        fleet.hosts.emplace_back().apps.push_back(fleet.table.add({name, identifier, "1", name}));
    fleet.table.add({"Superseded", "x", "1", ""});
    std::string asked;
    for (const auto& app : distinctApplications(fleet))
        asked += app.bundleID + "=" + app.name + " ";
    EXPECT_EQ(asked, "y=Even z=Renamed ");
}

}  // namespace
}  // namespace quorvel
