// SPDX-License-Identifier: Apache-2.0
// Files a hostile user hands over: what is not a regular file, what is far too large, what lies about
// its size, and outputs that would replace something other than a file.
#include "test_support.h"

#include "pgm/zeb/platform/bitasm/bitasm.h"
#include "pgm/zeb/platform/fio/fio.h"
#include "pgm/zeb/platform/pgmio/pgmio_container.h"
#include "pgm/zeb/platform/pgmio/pgmio_info.h"
#include "pgm/zeb/zeb_util.h"
#include "pgm/zeb/zeb_util_precheck_scope.h"

#include <filesystem>
#include <sys/stat.h>

namespace
{

namespace fs = std::filesystem;
using corvane_test::corvane;

// Sparse files (large on paper, nothing on disk), pipes and a folder: the library's reader, the
// integrity check and --info all give the reason, and none waits on a pipe.
TEST(HostileFiles, InputsAreRefusedBeforeTheyAreRead)
{
    corvane_test::SCRATCH_CWD cwd;
    ASSERT_EQ(corvane("--make-sof --device 7TR440PA3R1 --size 4096 design.sof").status, 0);
    const std::string sof = corvane_test::read_file("design.sof");
    ASSERT_EQ(::mkfifo("pipe.sof", 0600) | ::mkfifo("pipe.zeb", 0600), 0);
    fs::create_directory("folder.jic");
    const std::pair<const char*, uint64_t> sparse[] = {{"huge.jic", FIO_MAX_INPUT_SIZE + 1},
                                                       {"huge.sof", (uint64_t(1) << 30) + 1},
                                                       {"huge.zeb", (uint64_t(64) << 20) + 1},
                                                       {"lying.pof", uint64_t(1) << 30}};
    for (const auto& [name, size] : sparse)
    {
        corvane_test::write_file(name, sof.substr(0, 24)); // a header that declares the 4 KiB design
        fs::resize_file(name, size);
    }
    const std::pair<const char*, std::string> rows[] = {
        {"pipe.sof", "'pipe.sof' is a pipe, not a regular file"},
        {"pipe.zeb", "'pipe.zeb' is a pipe, not a regular file"},
        {"folder.jic", "'folder.jic' is a directory, not a file"},
        {"huge.jic", "'huge.jic' is larger than the largest file accepted (2147483648 bytes)"},
        {"huge.sof", "'huge.sof' is larger than the largest file accepted (1073741824 bytes)"},
        {"huge.zeb", "'huge.zeb' is larger than the largest file accepted (67108864 bytes)"},
        {"lying.pof", "the header declares " + std::to_string(sof.size()) + " bytes but the file has 1073741824"},
    };
    for (const auto& [file, expected] : rows)
    {
        PGMIO_BYTES bytes;
        std::string error;
        EXPECT_FALSE(pgmio_read_file(file, bytes, error)) << file;
        EXPECT_NE(error.find(expected), std::string::npos) << file << ": " << error;
        EXPECT_NE(BITASM_MGR::check_bitstream_integrity(file).find(expected), std::string::npos) << file;
        const corvane_test::PROGRAM_RUN info = corvane(std::string("--info ") + file);
        EXPECT_EQ(info.status, 1) << file;
        EXPECT_NE(info.err.find(expected), std::string::npos) << file << ": " << info.err;
    }
    EXPECT_NE(corvane("pipe.zeb --check").err.find("is a pipe, not a regular file"), std::string::npos);
}

TEST(HostileFiles, OnlyRegularFilesAndLinksAreReplaced)
{
    corvane_test::SCRATCH_CWD cwd;
    ASSERT_EQ(::mkfifo("pipe.rbf", 0600), 0);
    corvane_test::write_file("target.rbf", "kept");
    fs::create_symlink("target.rbf", "link.rbf");
    const uint8_t data[] = {1, 2, 3};
    std::string error;
    EXPECT_FALSE(pgmio_write_file_atomic("pipe.rbf", data, error));
    EXPECT_EQ(error, "cannot write 'pipe.rbf': it is a pipe, not a regular file");
    EXPECT_EQ(HTL_ZOFSTREAM("pipe.rbf").error(), error);
    EXPECT_TRUE(fs::is_fifo("pipe.rbf"));
    ASSERT_TRUE(pgmio_write_file_atomic("link.rbf", data, error)) << error;
    EXPECT_EQ(corvane_test::read_file("link.rbf"), std::string("\1\2\3"));
    EXPECT_FALSE(fs::is_symlink("link.rbf"));
    EXPECT_EQ(corvane_test::read_file("target.rbf"), "kept");
    EXPECT_EQ(std::distance(fs::directory_iterator("."), fs::directory_iterator()), 3); // no temporary left
}

// Both read a file the same way: raw programming data is flash bytes even when it starts like hex
// records; hex records are hex records whatever their extension.
TEST(HostileFiles, DescriptionAndIntegrityCheckAgree)
{
    corvane_test::SCRATCH_CWD cwd;
    corvane_test::write_file("colon.rpd", ":00000001FF\n" + std::string(4096, '\xff'));
    corvane_test::write_file("records.dat", ":0200000001FF\n");
    corvane_test::write_file("good.dat", ":0400000001020304F2\n:00000001FF\n");
    for (const char* file : {"colon.rpd", "records.dat", "good.dat"})
    {
        PGMIO_FILE_INFO info;
        std::string error;
        ASSERT_TRUE(pgmio_describe_file(file, info, error)) << file << ": " << error;
        EXPECT_EQ(info.integrity, BITASM_MGR::check_bitstream_integrity(file)) << file;
    }
}

// Raw bytes of a file end up in a failure text; the JSON that carries it is read by Python's.
TEST(HostileFiles, JsonOutputIsAlwaysValid)
{
    corvane_test::SCRATCH_CWD cwd;
    corvane_test::write_file("raw.hex", ":04000000\xff\xfe\x80\x81\n");
    const corvane_test::PROGRAM_RUN info = corvane("--info --json raw.hex");
    EXPECT_EQ(info.status, 1) << info.output();
    corvane_test::write_file("info.json", info.out);
    const corvane_test::PROGRAM_RUN check = corvane_test::run_program(
        "python3", "-c 'import json; print(json.load(open(\"info.json\", encoding=\"utf-8\"))[\"integrity\"][\"ok\"])'");
    EXPECT_EQ(check.out, "False\n") << check.output();
}

// Within one check a precheck is made once per file, and again when the file changed.
TEST(HostileFiles, PrecheckOfAChangedFileIsMadeAgain)
{
    corvane_test::SCRATCH_CWD cwd;
    const ZEB_PRECHECK_SCOPE scope;
    ASSERT_EQ(corvane("--make-sof --device 7TR440PA3R1 --size 4096 design.sof").status, 0);
    const PGM_DEVICE* device = nullptr;
    std::string message;
    ASSERT_TRUE(ZEB_UTIL::precheck_input_file(FIO_PATH("design.sof"), &device, message, message, true)) << message;
    corvane_test::write_file("design.sof", "not a design any more");
    EXPECT_FALSE(ZEB_UTIL::precheck_input_file(FIO_PATH("design.sof"), &device, message, message, true));
    EXPECT_EQ(device, nullptr);
}

// Configuration data whose payload goes out as stored is checked without being copied: every
// crafted container (the writer would refuse to make these) is refused by both decodes alike.
TEST(HostileFiles, PayloadFreeDecodeChecksWhatTheFullDecodeChecks)
{
    const PGMIO_BYTES data = {1, 2, 3}, none;
    const uint32_t firm = PGMIO_SECTION_FIRMWARE, core = PGMIO_SECTION_CORE, hps = PGMIO_SECTION_HPS;
    struct ROW
    {
        uint32_t idcode, flags;
        std::vector<std::pair<uint32_t, const PGMIO_BYTES*>> payload;
        const char* error; // "" for a valid container
    };
    const ROW rows[] = {
        {0x0A445EE1, 0, {{firm, &data}, {core, &data}}, ""},
        {0x0A445EE0, 0, {{core, &data}}, "bit 0 is clear"},
        {0x0A445EE1, 0x80000000, {{core, &data}}, "unknown design flags"},
        {0x0A445EE1, 0, {{core, &data}, {firm, &data}}, "out of order"},
        {0x0A445EE1, 0, {{firm, &data}, {core, &data}, {core, &data}}, "out of order or repeated"},
        {0x0A445EE1, 0, {{firm, &data}, {core, &none}}, "'CORE' is empty"},
        {0x0A445EE1, 0, {{firm, &data}}, "'CORE' is missing"},
        {0x0A445EE1, PGMIO_DESIGN_CVP, {{core, &data}}, "separate 'PERI'"},
        {0x0A445EE1, 0, {{core, &data}, {hps, &data}}, "without the HPS flag"},
    };
    for (const ROW& row : rows)
    {
        PGMIO_BYTE_WRITER head; // IDCODE, flags, eight reserved bytes
        head.u32(row.idcode);
        head.u32(row.flags);
        head.u64(0);
        PGMIO_CONTAINER_BUILDER builder(PGMIO_KIND_RBF);
        builder.add(pgmio_tag("CFGH"), head.data());
        for (const auto& [tag, bytes] : row.payload)
            builder.add(tag, *bytes);
        PGMIO_BYTES image;
        std::string built, full, header_only;
        ASSERT_TRUE(builder.finish(image, built)) << built;
        PGMIO_CONFIG_DATA with, without;
        const bool decoded = PGMIO_RBF::decode(image, with, full);
        EXPECT_EQ(PGMIO_RBF::decode(image, without, header_only, false), decoded) << row.error;
        EXPECT_EQ(header_only, full);
        EXPECT_EQ(decoded, *row.error == 0) << full;
        EXPECT_NE(full.find(row.error), std::string::npos) << full;
        if (decoded)
        {
            EXPECT_EQ(with.sections.size(), row.payload.size());
            EXPECT_TRUE(without.sections.empty());
            EXPECT_EQ(std::tie(without.idcode, without.flags), std::tie(with.idcode, with.flags));
        }
    }
}

} // namespace
