// SPDX-License-Identifier: Apache-2.0
// Every path option's effect or refusal; signing and finalising later through the command line,
// against one-step generation; and no key or password in any output, log or file made.
#include "test_pgmsec_support.h"

#include "pgm/zeb/platform/pgmconv/pgmconv.h"

#include <sys/stat.h>

using namespace corvane_test;

namespace
{

std::string fields_of(const std::string& path)
{
    PGMIO_BYTES image;
    PGMSEC_INFO info;
    std::string error, text;
    if (!pgmio_read_file(path, image, error) || !pgmsec_describe_configuration(image, info, error))
        return "error: " + error;
    for (const auto& [name, value] : info.fields)
        text += name + "=" + value + ";";
    return text;
}

// The image without its signature block: what one-step and later signing must share.
PGMIO_CONFIG_DATA unsigned_content(const std::string& path)
{
    PGMIO_CONFIG_DATA data;
    std::string error;
    EXPECT_TRUE(PGMIO_RBF::read(path, data, error)) << error;
    data.signature_block.clear();
    return data;
}

} // namespace

TEST(PgmsecOptions, EveryOptionActsOrIsRefusedNamingIt)
{
    SECURITY_FIXTURE f;
    f.make_hek("correct horse");
    std::string error;
    ASSERT_TRUE(pgmsec_make_hky(f.file("pub.pem"), f.file("owner.hky"), error)) << error;
    // The same key file asking for 2^32-1 key derivation rounds (CRC kept valid): refused, not run.
    std::string slow = read_file(f.file("k.hek"));
    slow.replace(12, 4, "\xFF\xFF\xFF\xFF");
    const uint32_t crc = pgmio_crc32({reinterpret_cast<const uint8_t*>(slow.data()), slow.size() - 4});
    for (size_t i = 0; i < 4; ++i)
        slow[slow.size() - 4 + i] = char(crc >> (8 * i));
    write_file(f.file("slow.hek"), slow);
    using SET = void (*)(PGMIO_SECURITY_SETTINGS&, const SECURITY_FIXTURE&);
    struct CASE
    {
        const char* option;
        SET set;
        const char* device;
        const char* expect; // in the fields of the image, or in the refusal
    };
    const CASE cases[] = {
        {"compression", [](auto& s, auto&) { s.compression = true; }, "7TR440PA3R1", "security options=none"},
        {"key_file2/key2",
         [](auto& s, auto& f) { s = f.encrypted(), s.key_file2 = f.file("keys.txt"), s.key2 = "hps"; }, "7TR440PA3R1",
         "key2 id (HPS section)=hps"},
        {"key2 without HPS",
         [](auto& s, auto& f) { s = f.encrypted(), s.key_file2 = f.file("keys.txt"), s.key2 = "hps"; }, "5ZV066H2",
         "option 'key2' encrypts the HPS section"},
        {"finalize_encryption", [](auto& s, auto& f) { s = f.finalizing("k.hek", "correct horse"); }, "7TR440PA3R1",
         "wrapped key=finalised"},
        {"password wrong", [](auto& s, auto& f) { s = f.finalizing("k.hek", "wrong"); }, "7TR440PA3R1",
         "does not open with the given password"},
        {"hek asking too many rounds", [](auto& s, auto& f) { s = f.finalizing("slow.hek", "correct horse"); },
         "7TR440PA3R1", "invalid key-encryption key record"},
        {"finalize_encryption_later", [](auto& s, auto& f) { s = f.encrypted(), s.finalize_encryption_later = true; },
         "7TR440PA3R1", "wrapped key=not finalised"},
        {"sign_later", [](auto& s, auto&) { s.sign_later = true; }, "7TR440PA3R1", "security options=none"},
        {"signing without pem", [](auto& s, auto&) { s.signing = PGMIO_SIGNING_PEM; }, "7TR440PA3R1",
         "needs option 'signing_pem_file'"},
        {"hky_file", [](auto& s, auto& f) { s.hky_file = f.file("owner.hky"); }, "7TR440PA3R1", "owner root key hash="},
        {"hlk_file", [](auto& s, auto&) { s.hlk_file = "x.hlk"; }, "7TR440PA3R1",
         "option 'hlk_file' is not available for device 7TR440PA3R1"},
        {"key_storage", [](auto& s, auto& f) { s = f.encrypted(), s.key_storage = "BBRAM"; }, "7TR440PA3R1",
         "key storage=BBRAM"},
        {"non_volatile_key", [](auto& s, auto& f) { s = f.encrypted(), s.non_volatile_key = true; }, "7TR440PA3R1",
         "non_volatile_key;key storage=eFuse"},
        {"seu_recovery", [](auto& s, auto&) { s.seu_recovery = true; }, "7TR440PA3R1", "security flags=seu_recovery"},
        {"rsu_upgrade", [](auto& s, auto&) { s.rsu_upgrade = true; }, "GENERIC",
         "option 'rsu_upgrade' is not available for device GENERIC"},
        {"decryption_during_pr", [](auto& s, auto& f) { s = f.encrypted(), s.decryption_during_pr = true; }, "3ZT085F2",
         "option 'decryption_during_pr' is not available for device 3ZT085F2"},
        {"decompression_during_pr", [](auto& s, auto&) { s.compression = s.decompression_during_pr = true; },
         "7TR440PA3R1", "security flags=decompression_during_pr"},
        {"security option", [](auto& s, auto&) { s.options[PGMIO_SECURITY_OPT_NO_JTAG] = 2; }, "7TR440PA3R1",
         "security options=no_jtag=2"},
        {"security option", [](auto& s, auto&) { s.options[PGMIO_SECURITY_OPT_NO_PR] = 3; }, "GENERIC",
         "not available for device GENERIC"},
        {"encryption 128-bit", [](auto& s, auto& f) { s = f.encrypted(); }, "3ZT085F2",
         "encryption algorithm=aes-128-gcm"},
    };
    for (const CASE& c : cases)
    {
        PGMIO_SECURITY_SETTINGS s;
        c.set(s, f);
        const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device(c.device);
        ASSERT_NE(device, nullptr);
        BITASM_OPTIONS options;
        options.flags = device->get_fpga_record()->capabilities.hps ? PGMIO_DESIGN_HPS : 0;
        options.size = 4096;
        // The generic device has no IDCODE to assemble for; its refusals come before the content matters.
        PGMIO_CONFIG_DATA plain = f.plain;
        PGMIO_BYTES image;
        if (std::string(c.device) != "GENERIC")
        {
            ASSERT_TRUE(BITASM_MGR::assemble_configuration_data(*device, options, plain, error)) << error;
        }
        std::string outcome;
        if (pgmsec_encode_configuration(plain, s, *device, image, error) &&
            pgmio_write_file_atomic(f.file("o.rbf"), image, error))
            outcome = fields_of(f.file("o.rbf"));
        else
            outcome = "error: " + error;
        EXPECT_NE(outcome.find(c.expect), std::string::npos) << c.option << ": " << outcome;
    }
}

// Signing later in each of its three forms, and finalising later, give what one-step generation
// gives apart from the IVs and signature bytes; wrong signatures and keys are refused.
TEST(PgmsecCli, SignAndFinalizeLaterMatchOneStepGeneration)
{
    SECURITY_FIXTURE f;
    const std::string key = " --key '" + f.file("key.pem") + "'";
    PGMIO_SECURITY_SETTINGS s;
    s.compression = true;
    ASSERT_EQ(f.generate(f.signed_settings(s), "one.rbf"), "");
    s.sign_later = true;
    for (const char* form : {"key", "digest"})
    {
        ASSERT_EQ(f.generate(s, "later.rbf"), "");
        const std::string file = "'" + f.file("later.rbf") + "'";
        EXPECT_EQ(info_json(f.file("later.rbf"))["signature"]["verified"], false);
        if (std::string(form) == "key")
            EXPECT_EQ(corvane("--sign " + file + key).status, 0);
        else
        {
            ASSERT_EQ(corvane("--sign " + file + " --digest-out '" + f.file("d.bin") + "'").status, 0);
            ASSERT_EQ(shell("openssl pkeyutl -sign -inkey '" + f.file("key.pem") + "' -in '" + f.file("d.bin") +
                            "' -out '" + f.file("sig.der") + "'"),
                      0);
            ASSERT_EQ(shell("openssl ecparam -name secp384r1 -genkey -noout -out '" + f.file("other.pem") +
                            "' && openssl ec -in '" + f.file("other.pem") + "' -pubout -out '" + f.file("other.pub") +
                            "'"),
                      0);
            const PROGRAM_RUN wrong = corvane("--sign " + file + " --signature '" + f.file("sig.der") +
                                              "' --public-key '" + f.file("other.pub") + "'");
            EXPECT_EQ(wrong.status, 1);
            EXPECT_NE(wrong.err.find("does not verify with the public key"), std::string::npos) << wrong.output();
            EXPECT_EQ(corvane("--sign " + file + " --signature '" + f.file("sig.der") + "' --public-key '" +
                              f.file("pub.pem") + "'")
                          .status,
                      0);
        }
        EXPECT_EQ(info_json(f.file("later.rbf"))["signature"]["verified"], true) << form;
        EXPECT_EQ(unsigned_content(f.file("later.rbf")), unsigned_content(f.file("one.rbf"))) << form;
    }

    // Finalising later with a password-protected .hek, then signing, against one step.
    f.make_hek("s3cret-pass");
    struct stat mode = {};
    ASSERT_EQ(::stat(f.file("k.hek").c_str(), &mode), 0);
    EXPECT_EQ(mode.st_mode & 0777, 0600u);
    ASSERT_EQ(f.generate(f.signed_settings(f.finalizing("k.hek", "s3cret-pass")), "one.rbf"), "");
    s = f.encrypted();
    s.finalize_encryption_later = s.sign_later = true;
    ASSERT_EQ(f.generate(s, "later.rbf"), "");
    const std::string finalize = "--finalize-encryption '" + f.file("later.rbf") + "' --hek '" + f.file("k.hek") +
                                 "' --key-file '" + f.file("keys.txt") + "' --password-file '" + f.file("pw") + "'";
    ASSERT_EQ(corvane(finalize).status, 0);
    EXPECT_NE(corvane(finalize).err.find("is already finalised"), std::string::npos);
    ASSERT_EQ(corvane("--sign '" + f.file("later.rbf") + "'" + key).status, 0);
    EXPECT_EQ(unsigned_content(f.file("later.rbf")).security_header,
              unsigned_content(f.file("one.rbf")).security_header);
    EXPECT_EQ(info_json(f.file("later.rbf"))["signature"]["verified"], true);
}

// An encrypted, finalised, signed run with the debug log on: neither the key (hexadecimal in either
// case, base64) nor the password appears in any output, log or file other than the key's own files.
TEST(PgmsecCli, SecretsStayOutOfOutputsAndLogs)
{
    SECURITY_FIXTURE f;
    f.make_hek("s3cret-pass");
    PGMIO_SECURITY_SETTINGS s = f.encrypted();
    s.compression = true;
    s.finalize_encryption_later = true;
    s.sign_later = true;
    // The engine's generation of a .rbf, with every debug line captured.
    f.write_sof("d.sof");
    std::string logs;
    {
        MSG_CAPTURE_SINK capture;
        PGMIO_CCF ccf("secrets", "", new PGMIO_FILE_OPTIONS, 1, 0, false, 10.0, 1.0, false, true);
        const FIO_PATH out(f.file("out.rbf"));
        ccf.set_output_file(&out);
        ccf.get_file_options()->write_rbf = true;
        ASSERT_TRUE(ccf.add_sof_file(FIO_PATH(f.file("d.sof")), 0, 0, 0));
        ccf.set_security_settings(s, 0);
        ASSERT_TRUE(PGMIO_F2P::convert_sram_files(ccf)) << ccf.get_error();
        for (const std::string& line : capture.debug_lines())
            logs += line + "\n";
        for (const MSG_POSTED& message : capture.messages())
            logs += message.text + "\n";
    }
    EXPECT_EQ(info_json(f.file("out.rbf"))["sections"][2]["encryption"]["key_id"], "main");
    ASSERT_EQ(setenv("CORVANE_DEBUG", "3", 1), 0);
    for (const std::string& args :
         {"--finalize-encryption '" + f.file("out.rbf") + "' --hek '" + f.file("k.hek") + "' --key-file '" +
              f.file("keys.txt") + "' --password-file '" + f.file("pw") + "'",
          "--finalize-encryption '" + f.file("out.rbf") + "' --hek '" + f.file("k.hek") + "' --key-file '" +
              f.file("keys.txt") + "'",
          "--sign '" + f.file("out.rbf") + "' --key '" + f.file("key.pem") + "'", "--info '" + f.file("out.rbf") + "'",
          "--info --json '" + f.file("out.rbf") + "'", "--info '" + f.file("k.hek") + "'"})
        logs += corvane(args).output();
    unsetenv("CORVANE_DEBUG");
    const PGMIO_BYTES key = unhex(k_key_hex);
    write_file(f.file("key.bin"), std::string(key.begin(), key.end()));
    ASSERT_EQ(shell("base64 -w0 '" + f.file("key.bin") + "' > '" + f.file("key.b64") + "'"), 0);
    std::string upper = k_key_hex;
    for (char& c : upper)
        c = char(std::toupper(c));
    const std::string secrets[] = {k_key_hex, upper, read_file(f.file("key.b64")), "s3cret-pass",
                                   std::string(key.begin(), key.end())};
    EXPECT_NE(logs.find("Signed"), std::string::npos) << logs;
    for (const std::string& secret : secrets)
    {
        ASSERT_FALSE(secret.empty());
        EXPECT_EQ(logs.find(secret), std::string::npos) << logs;
        for (const char* file : {"out.rbf", "k.hek"})
            EXPECT_EQ(read_file(f.file(file)).find(secret), std::string::npos) << file;
    }
}
