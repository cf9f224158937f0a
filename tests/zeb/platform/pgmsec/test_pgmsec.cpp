// SPDX-License-Identifier: Apache-2.0
// Bitstream security: known answers of the primitives, and configuration data that lz4, openssl enc
// and openssl dgst read back on their own from the offsets that --info --json reports.
#include "test_pgmsec_support.h"

#include "pgm/zeb/platform/pgmsec/pgmsec_internal.h"

using namespace corvane_test;

TEST(PgmsecPrimitives, KnownAnswersAndLz4FrameReadByTheLz4Tool)
{
    // The published AES-GCM test case 16 (AES-256, 96-bit IV, additional data).
    const PGMIO_BYTES key = unhex("feffe9928665731c6d6a8f9467308308feffe9928665731c6d6a8f9467308308");
    const PGMIO_BYTES plain = unhex("d9313225f88406e5a55909c5aff5269a86a7a9531534f7da2e4c303d8a318a721c3c0c9595680953"
                                    "2fcf0e2449a6b525b16aedf5aa0de657ba637b39");
    const PGMIO_BYTES aad = unhex("feedfacedeadbeeffeedfacedeadbeefabaddad2");
    const PGMIO_BYTES iv = unhex("cafebabefacedbaddecaf888");
    PGMIO_BYTES cipher, back;
    std::array<uint8_t, 16> tag{};
    std::string error;
    ASSERT_TRUE(pgmsec_gcm_encrypt(key, iv, aad, plain, cipher, tag, error)) << error;
    EXPECT_EQ(pgmio_hex_text(cipher), "522dc1f099567d07f47f37a32a84427d643a8cdcbfe5c0c97598a2bd2555d1aa8cb08e48590dbb3d"
                                      "a7b08b1056828838c5f61e6393ba7a0abcc9f662");
    EXPECT_EQ(pgmio_hex_text(tag), "76fc6ece0f4e1768cddf8853bb2d551b");
    EXPECT_TRUE(pgmsec_gcm_decrypt(key, iv, aad, cipher, tag, back, error) && back == plain);
    cipher[0] ^= 1;
    EXPECT_FALSE(pgmsec_gcm_decrypt(key, iv, aad, cipher, tag, back, error));

    // RFC 3394 section 4.6: 256-bit key data under a 256-bit key-encryption key.
    PGMIO_BYTES wrapped;
    PGMSEC_SECRET unwrapped;
    const PGMIO_BYTES kek = unhex(k_key_hex);
    const PGMIO_BYTES data = unhex("00112233445566778899aabbccddeeff000102030405060708090a0b0c0d0e0f");
    ASSERT_TRUE(pgmsec_key_wrap(kek, data, wrapped, error)) << error;
    EXPECT_EQ(pgmio_hex_text(wrapped),
              "28c9f404c4b810f4cbccb35cfb87f8263f5786e2d80ed326cbc7f0e71a99f43bfb988b9b7a02dd21");
    ASSERT_TRUE(pgmsec_key_unwrap(kek, wrapped, unwrapped, error));
    EXPECT_TRUE(std::equal(data.begin(), data.end(), unwrapped.data()));
    wrapped[5] ^= 1;
    EXPECT_FALSE(pgmsec_key_unwrap(kek, wrapped, unwrapped, error));

    // LZ4 frames, fast and HC, round trip and decode with the lz4 command.
    SCRATCH_DIR dir;
    PGMIO_BYTES text;
    for (int i = 0; i < 5000; ++i)
        text.push_back(uint8_t(i % 7 == 0 ? i : 0));
    for (bool high : {false, true})
    {
        PGMIO_BYTES frame;
        ASSERT_TRUE(pgmsec_lz4_compress(text, high, frame, error)) << error;
        EXPECT_LT(frame.size(), text.size() / 4);
        EXPECT_TRUE(pgmsec_lz4_decompress(frame, text.size(), back, error) && back == text) << error;
        EXPECT_FALSE(pgmsec_lz4_decompress(frame, text.size() + 1, back, error));
        ASSERT_TRUE(pgmio_write_file_atomic(dir.file("f.lz4"), frame, error));
        ASSERT_EQ(shell("lz4 -d -f -q '" + dir.file("f.lz4") + "' '" + dir.file("f") + "'"), 0);
        EXPECT_TRUE(read_file(dir.file("f")) == std::string(text.begin(), text.end()));
    }
}

// Every combination that matters: the sections come back through dd, openssl enc and lz4 alone, and
// the signature verifies with openssl dgst.
TEST(PgmsecImage, IndependentToolsReadBackEverySectionAndSignature)
{
    SECURITY_FIXTURE f;
    struct CASE
    {
        bool compression, enhanced, encryption, signing;
        const char* compression_name;
    };
    const CASE cases[] = {
        {true, false, false, false, "lz4"},  {false, true, false, false, "lz4hc"}, {false, false, true, false, "none"},
        {false, false, false, true, "none"}, {true, false, true, true, "lz4"},
    };
    for (const CASE& c : cases)
    {
        SCOPED_TRACE(std::string(c.compression_name) + (c.encryption ? " encrypted" : "") +
                     (c.signing ? " signed" : ""));
        PGMIO_SECURITY_SETTINGS s = c.encryption ? f.encrypted() : PGMIO_SECURITY_SETTINGS{};
        s.compression = c.compression;
        s.enhanced_compression = c.enhanced;
        if (c.signing)
            s = f.signed_settings(s);
        ASSERT_EQ(f.generate(s, "out.rbf"), "");
        const nlohmann::json info = info_json(f.file("out.rbf"));
        const std::string file = "'" + f.file("out.rbf") + "'";
        size_t payloads = 0;
        for (const nlohmann::json& section : info["sections"])
        {
            if (!section.contains("plain_size"))
                continue;
            const std::string tag = section["tag"];
            const PGMIO_CONFIG_SECTION* expected = f.plain.find(pgmio_tag({tag[0], tag[1], tag[2], tag[3], 0}));
            ASSERT_NE(expected, nullptr);
            ++payloads;
            EXPECT_EQ(section["plain_size"], expected->data.size());
            EXPECT_EQ(section["compression"], c.compression_name);
            EXPECT_EQ(section["encryption"].is_null(), !c.encryption);
            // Compressed or encrypted sections start with their plain size.
            const uint64_t framing = c.compression || c.enhanced || c.encryption ? 8 : 0;
            uint64_t offset = section["offset"].get<uint64_t>() + framing;
            uint64_t size = section["size"].get<uint64_t>() - framing;
            std::string command = "dd if=" + file + " status=none iflag=skip_bytes,count_bytes bs=65536 skip=";
            if (c.encryption)
            {
                const nlohmann::json& e = section["encryption"];
                EXPECT_EQ(e["algorithm"], "aes-256-gcm");
                EXPECT_EQ(e["key_id"], "main");
                offset = e["data_offset"];
                size = e["data_size"];
                command += std::to_string(offset) + " count=" + std::to_string(size) +
                           " | openssl enc -d -aes-256-ctr -K " + k_key_hex + " -iv " + e["iv"].get<std::string>() +
                           "00000002";
            }
            else
                command += std::to_string(offset) + " count=" + std::to_string(size);
            if (c.compression || c.enhanced)
                command += " | lz4 -d -c";
            ASSERT_EQ(shell(command + " > '" + f.file("section") + "'"), 0) << command;
            EXPECT_TRUE(read_file(f.file("section")) == std::string(expected->data.begin(), expected->data.end()));
        }
        EXPECT_EQ(payloads, f.plain.sections.size());
        ASSERT_EQ(info["signature"].is_null(), !c.signing);
        if (!c.signing)
            continue;
        const nlohmann::json& sig = info["signature"];
        EXPECT_EQ(sig["algorithm"], "ecdsa-p384-sha384");
        EXPECT_EQ(sig["verified"], true);
        const std::string dd = "dd if=" + file + " status=none iflag=skip_bytes,count_bytes bs=65536 ";
        EXPECT_EQ(shell(dd + "skip=" + std::to_string(sig["signed_offset"].get<uint64_t>()) +
                        " count=" + std::to_string(sig["signed_size"].get<uint64_t>()) + " > '" + f.file("signed.bin") +
                        "' && " + dd + "skip=" + std::to_string(sig["der_offset"].get<uint64_t>()) +
                        " count=" + std::to_string(sig["der_size"].get<uint64_t>()) + " > '" + f.file("sig.der") +
                        "' && " + "openssl dgst -sha384 -verify '" + f.file("pub.pem") + "' -signature '" +
                        f.file("sig.der") + "' '" + f.file("signed.bin") + "' > /dev/null"),
                  0);
    }
}

// With nothing asked the image is the plain encoding; two encrypted runs differ only in IVs, tags
// and ciphertexts; a wrong key, a tampered byte and a truncated file are refused precisely.
TEST(PgmsecImage, PlainIdentityRepeatabilityAndRefusals)
{
    SECURITY_FIXTURE f;
    PGMIO_BYTES plain_image, image, again;
    std::string error;
    ASSERT_TRUE(PGMIO_RBF::encode(f.plain, plain_image, error));
    ASSERT_TRUE(pgmsec_encode_configuration(f.plain, {}, *f.device, image, error));
    EXPECT_EQ(image, plain_image);

    PGMIO_SECURITY_SETTINGS s = f.encrypted();
    s.compression = true;
    PGMIO_CONFIG_DATA one, two;
    ASSERT_TRUE(pgmsec_encode_configuration(f.plain, s, *f.device, image, error)) << error;
    ASSERT_TRUE(pgmsec_encode_configuration(f.plain, s, *f.device, again, error)) << error;
    ASSERT_TRUE(PGMIO_RBF::decode(image, one, error) && PGMIO_RBF::decode(again, two, error)) << error;
    EXPECT_EQ(one.security_header, two.security_header);
    ASSERT_EQ(one.sections.size(), two.sections.size());
    for (size_t i = 0; i < one.sections.size(); ++i)
    {
        EXPECT_EQ(one.sections[i].data.size(), two.sections[i].data.size());
        EXPECT_TRUE(std::equal(one.sections[i].data.begin(), one.sections[i].data.begin() + 8,
                               two.sections[i].data.begin())); // plain size
        EXPECT_NE(one.sections[i].data, two.sections[i].data); // fresh IV
    }

    // A missing key id, a missing key file, a short key.
    write_file(f.file("short.txt"), "main 0011\n");
    const std::tuple<std::string, const char*, const char*> refusals[] = {
        {f.file("keys.txt"), "nope", "key id 'nope' of key file '"},
        {f.file("none.txt"), "main", "key file '"},
        {f.file("short.txt"), "main", "64 hexadecimal digits (the device's 256-bit key)"},
    };
    for (const auto& [key_file, key_id, message] : refusals)
    {
        s.key_file1 = key_file;
        s.key1 = key_id;
        EXPECT_FALSE(pgmsec_encode_configuration(f.plain, s, *f.device, image, error)) << message;
        EXPECT_NE(error.find(message), std::string::npos) << error;
        EXPECT_EQ(error.find(k_key_hex), std::string::npos);
    }

    // A tampered signed byte, with every CRC made right again, fails the signature alone.
    ASSERT_TRUE(pgmsec_encode_configuration(f.plain, f.signed_settings({}), *f.device, image, error)) << error;
    PGMIO_CONFIG_DATA data;
    ASSERT_TRUE(PGMIO_RBF::decode(image, data, error)) << error;
    data.sections.back().data[3] ^= 0x40;
    ASSERT_TRUE(PGMIO_RBF::encode(data, again, error));
    EXPECT_FALSE(PGMIO_RBF::decode(again, data, error));
    EXPECT_NE(error.find("the signature does not verify"), std::string::npos) << error;
    image.resize(image.size() - 100);
    EXPECT_FALSE(PGMIO_RBF::decode(image, data, error));
    EXPECT_NE(error.find("(truncated)"), std::string::npos) << error;
}

// Synthetic content compresses as real designs do: the more of the device is used, the less.
TEST(PgmsecImage, SyntheticContentCompressesByUtilization)
{
    const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device("7TR440PA3R1");
    ASSERT_NE(device, nullptr);
    size_t previous = 0;
    for (uint32_t utilization : {5u, 30u, 90u})
    {
        BITASM_OPTIONS options;
        options.size = 1 << 20;
        options.utilization = utilization;
        PGMIO_CONFIG_DATA data;
        PGMIO_BYTES frame;
        std::string error;
        ASSERT_TRUE(BITASM_MGR::assemble_configuration_data(*device, options, data, error)) << error;
        const PGMIO_BYTES& core = data.find(PGMIO_SECTION_CORE)->data;
        ASSERT_TRUE(pgmsec_lz4_compress(core, false, frame, error));
        EXPECT_GT(frame.size(), previous) << utilization;
        EXPECT_LT(frame.size(), core.size() / (utilization < 90 ? 3 : 1)) << utilization;
        previous = frame.size();
    }
}
