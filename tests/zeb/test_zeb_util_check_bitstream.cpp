// SPDX-License-Identifier: Apache-2.0
// Bitstream checks: the referenced bitstream and its input file, the signing and encryption rules
// of its path in their order, and the rule for several bitstreams in one flash device.
#include "test_zeb_util_check_support.h"

namespace
{

using namespace check_test;

constexpr PGM_COMMON_XML_ENUM ASX4 = PGM_COMMON_XML_ENUM_ASX4, RPD = PGM_COMMON_XML_ENUM_RPD,
                              EKP = PGM_COMMON_XML_ENUM_EKP;

const std::string k_multi_image =
    "Multiple SOF files been assigned to the flash device. However, the flash device does not have remote update "
    "feature enabled. Make sure there is only one SOF file been assigned to device flash partition. If you want to "
    "create the programming file for remote update, make sure there are multiple SOF files being added into Input "
    "Files tab, then you remove the existing flash device and add the new flash device again in Configuration "
    "Device tab.";

const auto cannot_find = [](const std::string& path)
{ return "Cannot find '" + path + "'. Make sure the file is located at the expected location or update the setting."; };
const auto cannot_parse = [](const std::string& path)
{ return "Failed to parse " + path + ". The file is corrupted or the targeted device is not supported."; };

class ZebCheckBitstream : public ::testing::Test
{
protected:
    void SetUp() override { sof = make_sof(dir, "design.sof", "9RX027R1B"); }

    // Builds an active serial x4 document whose raw programming data file reads bitstream "b1" from
    // `input`, with more pairs for the bitstream's path.
    static std::function<void(DOC)> rpd(const std::string& input, const PARAMS& path_options = {})
    {
        return [=](DOC d)
        {
            add_bitstream(d, "b1", input, path_options);
            add_output_for_bitstream(d, RPD, "b1");
        };
    }

    std::string file(const std::string& name) { return make_file(dir, name, "key material\n"); }

    // A serial flash whose partitions P1 and P2 take the bitstreams b1 and b2, both for a device
    // with remote update; b2 is an application image on page 1. With `jic`, a JIC programs the flash.
    void two_images(DOC d, bool jic = false)
    {
        add_bitstream(d, "b1", sof);
        add_bitstream(d, "b2", make_sof(dir, "update.sof", "9RX027R1B", 0, 2));
        add_flash_device(d, "flash", "VQ64A");
        add_partition(d, "flash", "P1", "0x00100000", "0x001FFFFF");
        add_partition(d, "flash", "P2", "0x00200000", "0x002FFFFF");
        assign_bitstream(d, "P1", "b1");
        assign_bitstream(d, "P2", "b2", 1);
        if (!jic)
            return;
        set_flash_loader(d, "9RX027R1B");
        add_output_for_flash_device(d, PGM_COMMON_XML_ENUM_JIC, "flash");
    }

    SCRATCH_DIR dir;
    std::string sof;
};

} // namespace

TEST_F(ZebCheckBitstream, EachRuleNamesTheFirstProblem)
{
    const std::string absent = dir.file("absent.sof"), absent_pem = dir.file("absent.pem"),
                      absent_hek = dir.file("absent.hek"), absent_hky = dir.file("absent.hky");
    const std::string broken = make_file(dir, "broken.sof", "not an object file");
    const std::string pem = file("root.pem");
    const std::string hek = file("user.hek");
    const std::string key_file = file("keys.key");
    const std::string on = value_of(PGM_COMMON_XML_ENUM_ON);
    using P = PARAMS;
    constexpr auto SIGNING = ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING;
    constexpr auto PEM = ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING_PEM_FILE;
    constexpr auto SIGN_LATER = ZEB_CMD_PARAM_BITSTREAM_PATH_SIGN_LATER;
    constexpr auto ENCRYPTION = ZEB_CMD_PARAM_BITSTREAM_PATH_ENCRYPTION;
    constexpr auto FINALIZE = ZEB_CMD_PARAM_BITSTREAM_PATH_FINALIZE_ENCRYPTION;
    constexpr auto FINALIZE_LATER = ZEB_CMD_PARAM_BITSTREAM_PATH_FINALIZE_ENCRYPTION_LATER;
    constexpr auto HEK = ZEB_CMD_PARAM_BITSTREAM_PATH_HEK_FILE;
    const std::string both_signing = "The signing and sign_later options cannot both be enabled at the same time";
    const std::string no_key = "Missing key_file or key is not set.";
    const std::string hek_unused = "HEK file is specified but finalize encryption option is not enabled";
    // A signed bitstream beside a helper image: when that is the first output, it is written beside a
    // flash programming file and needs the public root key.
    const auto signed_helper = [&](const P& options, bool helper_first)
    {
        return [=, this](DOC d)
        {
            const P helper = {{ZEB_CMD_PARAM_OUTPUT_FILE_SUBTYPE, value_of(PGM_COMMON_XML_ENUM_QSPI)},
                              {ZEB_CMD_PARAM_OUTPUT_FILE_DEVICE, "9RX027R1B"}};
            add_bitstream(d, "b1", sof, joined({{SIGNING, on}, {PEM, pem}}, options));
            if (helper_first)
                add_output_file(d, PGM_COMMON_XML_ENUM_HELPER_RBF, helper);
            add_output_for_bitstream(d, RPD, "b1");
            if (!helper_first)
                add_output_file(d, PGM_COMMON_XML_ENUM_HELPER_RBF, helper);
        };
    };
    const std::string hex = make_file(dir, "data.hex", ":00000001FF\n");
    // clang-format off
    std::vector<CHECK_ROW> rows = {
        {"unknown bitstream id", ASX4, [&](DOC d) { rpd(sof)(d); add_output_for_bitstream(d, EKP, "b7"); },
         "Missing settings for bitstream ID b7.", true},
        {"bitstream without path", ASX4, [&](DOC d)
         {
             rpd(sof)(d);
             set(d, ZEB_CMD_OPT_BITSTREAM, {{ZEB_CMD_PARAM_BITSTREAM_ID, "b2"}});
             add_output_for_bitstream(d, EKP, "b2");
         },
         "Missing settings for bitstream ID b2.", true},
        {"no bitstreams at all", ASX4,
         [&](DOC d) { add_raw_file(d, "r1", hex, PGM_COMMON_XML_ENUM_HEX); add_output_for_bitstream(d, RPD, "b1"); },
         "Missing settings for bitstream ID b1.", true},
        {"absent input", ASX4, rpd(absent), cannot_find(absent)},
        {"broken input", ASX4, rpd(broken), cannot_parse(broken)},
        {"partial-masked input", ASX4, rpd(make_pmsf(dir, "region.pmsf", "9RX027R1B")),
         "Input file type 'pmsf' is not supported by the specified output file type."},
        {"raw binary input", ASX4, rpd(make_rbf(dir, "design.rbf", "9RX027R1B")),
         "Input file type 'rbf' is not supported by the specified output file type."},
        // Signing rules, in their order; OFF (also the default) skips them all.
        {"signing off by default", ASX4, rpd(sof, {{SIGN_LATER, "ON"}}), ""},
        {"signing off", ASX4,
         rpd(sof, {{SIGNING, value_of(PGM_COMMON_XML_ENUM_OFF)}, {SIGN_LATER, "ON"}, {PEM, absent_pem}}), ""},
        {"helper image first needs the root key", ASX4, signed_helper({}, true), "Missing hky file"},
        {"absent root key", ASX4, signed_helper({{ZEB_CMD_PARAM_BITSTREAM_PATH_HKY_FILE, absent_hky}}, true),
         cannot_find(absent_hky)},
        {"root key", ASX4, signed_helper({{ZEB_CMD_PARAM_BITSTREAM_PATH_HKY_FILE, file("root.hky")}}, true), ""},
        {"only the first output decides", ASX4, signed_helper({}, false), ""},
        {"signing before encryption", ASX4, rpd(sof, {{SIGNING, on}, {SIGN_LATER, "ON"}, {ENCRYPTION, "ON"}}),
         both_signing},
        // Encryption rules, in their order.
        {"encryption without key or file", ASX4, rpd(sof, {{ENCRYPTION, "ON"}}), no_key},
        {"encryption without key", ASX4,
         rpd(sof, {{ENCRYPTION, "ON"}, {ZEB_CMD_PARAM_BITSTREAM_PATH_KEY_FILE1, key_file}}), no_key},
        {"encryption without key file", ASX4, rpd(sof, {{ENCRYPTION, "ON"}, {ZEB_CMD_PARAM_BITSTREAM_PATH_KEY1, "a"}}),
         no_key},
        {"encryption", ASX4, rpd(sof, {{ENCRYPTION, "ON"}, {ZEB_CMD_PARAM_BITSTREAM_PATH_KEY_FILE1, key_file},
                                       {ZEB_CMD_PARAM_BITSTREAM_PATH_KEY1, "a"}}), ""},
        {"key settings without encryption", ASX4, rpd(sof, {{ZEB_CMD_PARAM_BITSTREAM_PATH_KEY_FILE1, key_file}}), ""},
        {"both finalisations before the HEK file", ASX4,
         rpd(sof, {{FINALIZE, "ON"}, {FINALIZE_LATER, "ON"}, {HEK, absent_hek}}),
         "The finalize_encryption and finalize_encryption_later options cannot both be enabled at the same time"},
        {"finalisation without HEK file", ASX4, rpd(sof, {{FINALIZE, "ON"}}), "Missing HEK file"},
        {"finalisation with an absent HEK file", ASX4, rpd(sof, {{FINALIZE, "ON"}, {HEK, absent_hek}}),
         cannot_find(absent_hek)},
        {"finalisation", ASX4, rpd(sof, {{FINALIZE, "ON"}, {HEK, hek}}), ""},
        {"HEK file without finalisation", ASX4, rpd(sof, {{HEK, hek}}), hek_unused},
        {"HEK file with finalisation put off", ASX4, rpd(sof, {{HEK, hek}, {FINALIZE_LATER, "ON"}, {SIGN_LATER, "ON"}}),
         hek_unused},
        {"finalisation later without signing later", ASX4, rpd(sof, {{FINALIZE_LATER, "ON"}}),
         "Cannot skip encryption finalization if signing is enabled"},
        {"finalisation later with signing later", ASX4, rpd(sof, {{FINALIZE_LATER, "ON"}, {SIGN_LATER, "ON"}}), ""},
        // Several bitstreams in one flash device, through the whole check.
        {"two images without a factory image partition", ASX4, [&](DOC d) { two_images(d, true); }, k_multi_image,
         true},
    };
    // clang-format on
    for (PGM_COMMON_XML_ENUM signing : {PGM_COMMON_XML_ENUM_ON, PGM_COMMON_XML_ENUM_PEM})
    {
        const std::string value = value_of(signing);
        // sign_later is refused before the PEM file is looked at; outputs other than the flash helper
        // image need no public root key.
        rows.push_back(
            {"sign later", ASX4, rpd(sof, {{SIGNING, value}, {SIGN_LATER, "ON"}, {PEM, pem}}), both_signing});
        rows.push_back({"no pem file", ASX4, rpd(sof, {{SIGNING, value}}), "Missing pem file"});
        rows.push_back(
            {"absent pem file", ASX4, rpd(sof, {{SIGNING, value}, {PEM, absent_pem}}), cannot_find(absent_pem)});
        rows.push_back({"pem file", ASX4, rpd(sof, {{SIGNING, value}, {PEM, pem}}), ""});
    }
    for (const char* device : {"4RG180K1", "6DS250M2"})
        rows.push_back({device, ASX4, rpd(make_sof(dir, std::string(device) + ".sof", device)),
                        "Device " + std::string(device) + " is not supported."});
    for (const char* device : {"3ZT085F2", "5ZV066H2", "7TR220PA2R1", "9RX065R2A"})
        rows.push_back({device, ASX4, rpd(make_sof(dir, std::string(device) + ".sof", device)), ""});
    // Chain descriptions, key programming and fuse files target no device of their own, but must exist.
    for (const char* name : {"chain.cdf", "keys.ekp", "user.hky", "user.hek", "user.fuse"})
    {
        rows.push_back({name, ASX4, rpd(file(name)), ""});
        const std::string missing = dir.file(std::string("absent_") + name);
        rows.push_back({name, ASX4, rpd(missing), cannot_find(missing)});
    }
    expect_check_rows(rows);

    // Any other input that names no device breaks the precheck's promise.
    DOCUMENT document = make_document(ASX4);
    rpd(file("data.bin"))(document.get());
    EXPECT_EQ(internal_error_of([&] { run_check(document.get()); }), "device");
}

TEST_F(ZebCheckBitstream, SeveralImagesInActiveSerialNeedAFactoryImagePartition)
{
    struct CASE
    {
        PGM_COMMON_XML_ENUM mode;
        std::function<void(DOC)> edit;
        std::string message; // "" when the rule passes
    };
    const auto none = [](DOC) {};
    const auto factory = [](DOC d) { add_partition(d, "flash", "FACTORY_IMAGE", "0x00000000", "0x000FFFFF"); };
    const std::string broken = make_file(dir, "broken.sof", "not an object file");
    // The first image, in partition P1, becomes the one read from `path`.
    const auto first_image = [](const std::string& path)
    {
        return [=](DOC d)
        {
            add_bitstream(d, "b0", path);
            assign_bitstream(d, "P1", "b0");
        };
    };
    const CASE cases[] = {
        {PGM_COMMON_XML_ENUM_ASX1, none, k_multi_image},
        {ASX4, none, k_multi_image},
        {PGM_COMMON_XML_ENUM_ASX1, factory, ""},
        {ASX4, factory, ""},
        {PGM_COMMON_XML_ENUM_PS, none, ""},
        {PGM_COMMON_XML_ENUM_AVSTX8, none, ""},
        {PGM_COMMON_XML_ENUM_FPP, none, ""},
        // Only assignments of bitstreams count; a raw file beside one bitstream is no second image.
        {ASX4,
         [&](DOC d)
         {
             add_raw_file(d, "r1", make_file(dir, "data.hex", ":00000001FF\n"), PGM_COMMON_XML_ENUM_HEX);
             ZEB_FILE_ASSISTANT::remove(d, ZEB_CMD_OPT_ASSIGNMENT, {{ZEB_CMD_PARAM_ASSIGNMENT_PARTITION_ID, "P2"}});
             assign_raw_file(d, "P2", "r1");
         },
         ""},
        // An input that targets no device reports no remote update, and the rule does not apply.
        {ASX4, first_image(file("user.hky")), ""},
        // The first assignment in document order names the input that is prechecked.
        {ASX4, first_image(broken), cannot_parse(broken)},
    };
    for (const CASE& c : cases)
    {
        DOCUMENT document = make_document(c.mode);
        two_images(document.get());
        c.edit(document.get());
        std::string message;
        bool error = false;
        EXPECT_EQ(ZEB_UTIL::check_assignment_bitstream_settings(document.get(), message, error), c.message.empty());
        EXPECT_EQ(message, c.message) << c.mode;
        EXPECT_EQ(error, c.message == k_multi_image) << c.mode;
    }
    PGM_COMMON_XML_ZEB_ZEB no_assignments;
    std::string message;
    bool error = false;
    EXPECT_TRUE(ZEB_UTIL::check_assignment_bitstream_settings(&no_assignments, message, error));
}
