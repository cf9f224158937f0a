// SPDX-License-Identifier: Apache-2.0
// Player files: the frequency, voltage and operation conversions at their edges, the scan-data
// compression, and the byte-code round trip with damage detection. What the files do on a chain
// is proven by tests/jtag/test_players.py against real players.
#include "test_support.h"

#include "pgm/zeb/platform/pgmconv/pgmio_player_program.h"
#include "pgm/zeb/platform/pgmio/pgmio_enums.h"

using namespace corvane_test;

TEST(Svf, FrequencyTextsAreReadExactlyOrRefused)
{
    const struct
    {
        const char* text;
        long hz; // 0: refused
    } cases[] = {
        // clang-format off
        {"6MHz", 6000000}, {"100KHz", 100000}, {"100khz", 100000}, {"25000000", 25000000},
        {"25000000Hz", 25000000}, {"1.5MHz", 1500000}, {"1Hz", 1}, {"1000MHz", 1000000000},
        {"1001MHz", 0}, {"0", 0}, {"0Hz", 0}, {"", 0}, {"MHz", 0}, {"1.5Hz", 0}, {"6 MHz", 0}, {"6GHz", 0},
        {"-1", 0}, {"1.MHz", 0}, {"99999999999999999999", 0},
        // clang-format on
    };
    for (const auto& c : cases)
    {
        long hz = -1;
        std::string error;
        EXPECT_EQ(PGMIO_SVF::convert_frequency_string_to_uint(c.text, hz, error), c.hz != 0) << c.text;
        if (c.hz)
            EXPECT_EQ(hz, c.hz) << c.text;
        else
            EXPECT_NE(error.find("'" + std::string(c.text) + "'"), std::string::npos) << error;
    }
    EXPECT_THROW(PGMIO_SVF::convert_frequency_string_to_uint("fast"), MSG_INTERNAL_ERROR);
    EXPECT_EQ(PGMIO_SVF::voltage_text(SVFE_PROG_VOLTAGE_1_5V), "1.5V");
    EXPECT_EQ(PGMIO_SVF::voltage_text(SVFE_PROG_VOLTAGE_5_0V), "5.0V");
    EXPECT_EQ(PGMIO_SVF::convert_uint_to_frequency_string(100000), "100KHz");
    EXPECT_EQ(PGMIO_SVF::convert_uint_to_frequency_string(6000000), "6MHz");
    for (long hz : {1L, 999L, 1001L, 1500000L, 1000000000L})
        EXPECT_EQ(PGMIO_SVF::convert_frequency_string_to_uint(PGMIO_SVF::convert_uint_to_frequency_string(hz)), hz);
}

TEST(Player, CompressionRoundTripsAndRefusesDamage)
{
    PGMIO_BYTES patterned(70000);
    for (size_t i = 0; i < patterned.size(); ++i)
        patterned[i] = uint8_t(i % 251 < 200 ? 0xFF : i * 7);
    PGMIO_BYTES noise(5000);
    uint32_t state = 1;
    for (uint8_t& byte : noise)
        byte = uint8_t((state = state * 1664525u + 1013904223u) >> 24);
    for (const PGMIO_BYTES& data : {PGMIO_BYTES{}, PGMIO_BYTES{1, 2}, patterned, noise})
    {
        const PGMIO_BYTES stream = pgmio_player_compress(data);
        PGMIO_BYTES back;
        std::string error;
        ASSERT_TRUE(pgmio_player_decompress(stream, back, error)) << error;
        EXPECT_EQ(back, data);
        if (data.size() > 2)
        {
            PGMIO_BYTES cut(stream.begin(), stream.end() - 1);
            EXPECT_FALSE(pgmio_player_decompress(cut, back, error));
        }
    }
    EXPECT_LT(pgmio_player_compress(patterned).size(), patterned.size() / 10);
}

TEST(Player, ByteCodeGivesBackTheProgramAndDetectsDamage)
{
    SCRATCH_DIR dir;
    PGMIO_PLAYER_CHAIN chain(2);
    std::string error;
    const PGM_DEVICE* first = PGM_DEVICE_INDEX::lookup_device(std::string_view("9RX027R1B"));
    const PGM_DEVICE* second = PGM_DEVICE_INDEX::lookup_device(std::string_view("6DS250M2"));
    ASSERT_TRUE(first && second);
    chain[0].device = first->get_fpga_record();
    chain[1].device = second->get_fpga_record();
    chain[1].payload = PGMIO_PLAYER_DEVICE::CONFIG;
    chain[1].operation_mask = PGMIO_PGM_OP_PROGRAM | PGMIO_PGM_OP_VERIFY;
    chain[1].config = PGMIO_BYTES(3000, 0x5A);

    PGMIO_JTAG_PROGRAM program;
    ASSERT_TRUE(pgmio_jtag_build(chain, program, error)) << error;
    PGMIO_BYTES image = pgmio_jbc_encode(program);
    std::string text;
    ASSERT_TRUE(PGMIO_CMD_LN_INTERFACE::jbc_to_text(image, text, error)) << error;
    EXPECT_EQ(text, pgmio_stapl_text(program));
    image[image.size() / 2] ^= 0x10;
    EXPECT_FALSE(PGMIO_CMD_LN_INTERFACE::jbc_to_text(image, text, error));
    EXPECT_NE(error.find("CRC"), std::string::npos) << error;

    // A bad frequency or extension leaves no file behind.
    PGMIO_SVF svf(SVFE_OPERATION_PROGRAM_VERIFY, false, 1000, SVFE_PROG_VOLTAGE_3_3V, false);
    EXPECT_FALSE(svf.create_output_file(chain, "fast", FIO_PATH(dir.file("x.svf"))));
    EXPECT_FALSE(PGMIO_CMD_LN_INTERFACE::create_output_file(chain, FIO_PATH(dir.file("x.txt")), error));
    EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
}
