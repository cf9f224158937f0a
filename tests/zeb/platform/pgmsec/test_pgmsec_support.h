// SPDX-License-Identifier: Apache-2.0
// Shared by the bitstream security tests: a scratch folder with a key file, an ECDSA P-384 key pair
// made by openssl, configuration data of a catalogue device, and shell and CLI runners.
#pragma once

#include "test_support.h"

#include "pgm/zeb/platform/bitasm/bitasm.h"
#include "pgm/zeb/platform/pgmsec/pgmsec.h"

#include <nlohmann/json.hpp>

namespace corvane_test
{

// The design key of the tests, as the key file holds it.
inline const std::string k_key_hex = "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f";

inline PGMIO_BYTES unhex(const std::string& text)
{
    PGMIO_BYTES bytes;
    for (size_t i = 0; i + 1 < text.size(); i += 2)
        bytes.push_back(uint8_t(std::stoul(text.substr(i, 2), nullptr, 16)));
    return bytes;
}

inline int shell(const std::string& command)
{
    const int status = std::system(("set -e; { " + command + "; } 2>/dev/null").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

struct SECURITY_FIXTURE
{
    SCRATCH_DIR dir;
    const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device("7TR440PA3R1");
    PGMIO_CONFIG_DATA plain;

    SECURITY_FIXTURE()
    {
        write_file(file("keys.txt"), "# design keys\nmain " + k_key_hex + "\nhps " + std::string(64, 'f') + "\n");
        EXPECT_EQ(shell("cd '" + dir.path().string() +
                        "' && openssl ecparam -name secp384r1 -genkey -noout -out key.pem && openssl ec -in key.pem "
                        "-pubout -out pub.pem"),
                  0);
        BITASM_OPTIONS options;
        options.flags = PGMIO_DESIGN_CVP | PGMIO_DESIGN_HPS;
        options.size = 1 << 16;
        std::string error;
        EXPECT_TRUE(device && BITASM_MGR::assemble_configuration_data(*device, options, plain, error)) << error;
    }
    std::string file(const std::string& name) const { return dir.file(name); }

    // An SRAM object file of 4 KiB of the fixture's device, for the conversion engine.
    void write_sof(const std::string& name) const
    {
        PGMIO_SOF_IMAGE sof;
        BITASM_OPTIONS options;
        options.size = 4096;
        std::string error;
        EXPECT_TRUE(BITASM_MGR::assemble_sof(*device, options, sof, error) && PGMIO_SOF::write(file(name), sof, error))
            << error;
    }

    // "k.hek", a key-encryption key behind the password that the file "pw" holds.
    void make_hek(const std::string& password) const
    {
        write_file(file("pw"), password + "\n");
        EXPECT_EQ(corvane("--make-hek '" + file("k.hek") + "' --password-file '" + file("pw") + "'").status, 0);
    }

    PGMIO_SECURITY_SETTINGS encrypted() const
    {
        PGMIO_SECURITY_SETTINGS s;
        s.encryption = true;
        s.key_file1 = file("keys.txt");
        s.key1 = "main";
        return s;
    }

    // Encryption finalised at once with the key-encryption key `hek` that `password` opens.
    PGMIO_SECURITY_SETTINGS finalizing(const std::string& hek, const std::string& password) const
    {
        PGMIO_SECURITY_SETTINGS s = encrypted();
        s.finalize_encryption = true;
        s.hek_file = file(hek);
        s.password = password;
        return s;
    }

    // Signing with the fixture's key.pem.
    PGMIO_SECURITY_SETTINGS signed_settings(PGMIO_SECURITY_SETTINGS s) const
    {
        s.signing = PGMIO_SIGNING_ON;
        s.signing_pem_file = file("key.pem");
        return s;
    }

    // Encodes `plain` with the settings into `name`; the error text when that fails, else "".
    std::string generate(const PGMIO_SECURITY_SETTINGS& settings, const std::string& name) const
    {
        PGMIO_BYTES image;
        std::string error;
        if (!pgmsec_encode_configuration(plain, settings, *device, image, error) ||
            !pgmio_write_file_atomic(file(name), image, error))
            return error.empty() ? "failed without a reason" : error;
        return {};
    }
};

inline nlohmann::json info_json(const std::string& path)
{
    const PROGRAM_RUN run = corvane("--info '" + path + "' --json");
    EXPECT_EQ(run.status, 0) << run.output();
    return nlohmann::json::parse(run.out);
}

} // namespace corvane_test
