// SPDX-License-Identifier: Apache-2.0
// Key programming through the conversion setup: the .ekp holds the design key and the owner key
// hash that openssl computes on its own, the .fuse file lists what lives in eFuses, both private;
// --info names the keys without their bytes.
#include "test_pgmsec_support.h"

#include "pgm/zeb/platform/pgmconv/pgmconv.h"

#include <filesystem>
#include <sys/stat.h>

using namespace corvane_test;

TEST(PgmsecKeyProgramming, EkpAndFuseFilesHoldWhatTheSettingsName)
{
    SECURITY_FIXTURE f;
    f.write_sof("d.sof");
    std::string error;
    PGMIO_CCF ccf("kpf", "", new PGMIO_FILE_OPTIONS, 1, 0, false, 10.0, 1.0, false, true);
    ASSERT_TRUE(ccf.add_sof_file(FIO_PATH(f.file("d.sof")), 0, 0, 0));
    PGMIO_SECURITY_SETTINGS s = f.signed_settings(f.encrypted());
    s.non_volatile_key = true;
    s.options[PGMIO_SECURITY_OPT_NO_JTAG] = 1;
    ccf.set_security_settings(s, 0);
    // Unasked, nothing is written; asked with a configuration output's path, the keys go beside it.
    ASSERT_TRUE(ccf.generate_key_prog_file(FIO_PATH(f.file("keys.rbf")))) << ccf.get_error();
    EXPECT_FALSE(std::filesystem::exists(f.file("keys.rbf")) || std::filesystem::exists(f.file("keys.ekp")));
    ccf.set_gen_kpf(true, PGMIO_CCF_ALL_PAGES, 0, PGMIO_CCF_ALL_PAGES);
    ASSERT_TRUE(ccf.generate_key_prog_file(FIO_PATH(f.file("keys.rbf")))) << ccf.get_error();
    EXPECT_FALSE(std::filesystem::exists(f.file("keys.rbf")));

    PGMIO_EKP_IMAGE ekp;
    ASSERT_TRUE(PGMIO_EKP::read(f.file("keys.ekp"), ekp, error)) << error;
    ASSERT_EQ(ekp.keys.size(), 2u);
    EXPECT_EQ(ekp.device_name, "7TR440PA3R1");
    EXPECT_EQ(ekp.keys[0].id, "main");
    EXPECT_EQ(ekp.keys[0].storage, PGMIO_KEY_STORAGE_EFUSE);
    EXPECT_EQ(pgmio_hex_text(ekp.keys[0].key), k_key_hex);
    ASSERT_EQ(shell("openssl ec -pubin -in '" + f.file("pub.pem") +
                    "' -outform DER | openssl dgst -sha384 -r | cut -c1-96 > '" + f.file("owner.txt") + "'"),
              0);
    EXPECT_EQ(pgmio_hex_text(ekp.keys[1].key) + "\n", read_file(f.file("owner.txt")));
    EXPECT_EQ(read_file(f.file("keys.fuse")),
              "# corvane fuse values 1\ndevice 7TR440PA3R1\nkey main efuse\nkey owner efuse\noption no_jtag 1\n");
    for (const char* name : {"keys.ekp", "keys.fuse"})
    {
        struct stat mode = {};
        ASSERT_EQ(::stat(f.file(name).c_str(), &mode), 0);
        EXPECT_EQ(mode.st_mode & 0777, 0600u) << name;
    }
    const PROGRAM_RUN info = corvane("--info '" + f.file("keys.ekp") + "'");
    EXPECT_NE(info.out.find("key main"), std::string::npos) << info.output();
    EXPECT_EQ(info.out.find(k_key_hex), std::string::npos);

    // A 128-bit device and a page without keys.
    s.key_file1 = f.file("keys.txt");
    const PGM_DEVICE* small = PGM_DEVICE_INDEX::lookup_device("3ZT085F2");
    PGMSEC_KEY_PROGRAMMING programming;
    EXPECT_FALSE(pgmsec_add_key_programming(s, *small, programming, error));
    EXPECT_NE(error.find("3ZT085F2 (128-bit key)"), std::string::npos) << error;
    std::string fuse;
    EXPECT_FALSE(pgmsec_write_key_programming(f.file("none.ekp"), PGMSEC_KEY_PROGRAMMING{}, fuse, error));
    EXPECT_NE(error.find("no key to program"), std::string::npos) << error;
}
