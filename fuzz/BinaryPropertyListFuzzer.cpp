#include <cstdint>
#include <string_view>

#include "PropertyListLaws.h"
#include "support/BinaryPropertyListWriter.h"

/// The input is a list, or its objects with "|" between them, to which a table and a trailer are added that
/// are right, so that what is fuzzed is the objects and their references.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quorvel;
    std::string_view bytes = fuzz::textOf(data, size);
    if (bytes.starts_with("bplist0")) {
        fuzz::readLawfully(bytes);
        return 0;
    }
    BinaryPropertyListWriter writer;
    while (!bytes.empty())
        writer.object(fuzz::takeUpTo("|", bytes));
    fuzz::readLawfully(writer.finish(0));
    return 0;
}
