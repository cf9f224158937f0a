// SPDX-License-Identifier: Apache-2.0
// Every reader of our binary formats; the first byte picks the reader (and whether the CRCs are
// repaired). What a reader accepts passes its format's rules and the integrity check.
#include "fuzz_support.h"
#include "pgm/zeb/platform/pgmconv/pgmio_player_program.h"
#include "pgm/zeb/platform/pgmio/pgmio.h"
#include "pgm/zeb/platform/pgmio/pgmio_flash_dir.h"
#include "pgm/zeb/platform/pgmio/pgmio_info.h"
#include "pgm/zeb/platform/pgmsec/pgmsec_internal.h"

namespace
{

template <typename CODEC, typename IMAGE>
bool decoded(std::span<const uint8_t> bytes)
{
    IMAGE image;
    std::string error;
    if (!CODEC::decode(bytes, image, error))
        return false;
    if (!CODEC::validate(image, error))
        abort(); // the reader let through what the format's rules refuse
    // Flash content with directory records is judged by the flash walk, which the check adds.
    if constexpr (std::is_same_v<IMAGE, PGMIO_FLASH_IMAGE>)
        return !PGMIO_FLASH_DIR_CODEC::has_magic(image.option_bits);
    return true;
}

// Readers by first byte, with the extension the integrity check reads the file under.
struct READER
{
    bool (*read)(std::span<const uint8_t>);
    FIO_EXTENSION_TYPE extension;
};
const READER k_readers[] = {
    {decoded<PGMIO_SOF, PGMIO_SOF_IMAGE>, FIO_EXTENSION_TYPE_SOF},
    {decoded<PGMIO_PMSF, PGMIO_PMSF_IMAGE>, FIO_EXTENSION_TYPE_PMSF},
    {decoded<PGMIO_MSF, PGMIO_MSF_IMAGE>, FIO_EXTENSION_TYPE_MSF},
    {decoded<PGMIO_FLASH_FILE, PGMIO_FLASH_IMAGE>, FIO_EXTENSION_TYPE_POF},
    {decoded<PGMIO_FLASH_FILE, PGMIO_FLASH_IMAGE>, FIO_EXTENSION_TYPE_JIC},
    {decoded<PGMIO_EKP, PGMIO_EKP_IMAGE>, FIO_EXTENSION_TYPE_EKP},
    {decoded<PGMIO_HELPER, PGMIO_HELPER_IMAGE>, FIO_EXTENSION_TYPE_RBF},
    {decoded<PGMIO_RBF, PGMIO_CONFIG_DATA>, FIO_EXTENSION_TYPE_RBF},
    {[](std::span<const uint8_t> bytes)
     {
         PGMIO_JTAG_PROGRAM program;
         std::string error;
         return pgmio_jbc_decode(bytes, program, error) && (pgmio_stapl_text(program), false);
     },
     FIO_EXTENSION_TYPE_JBC},
    {[](std::span<const uint8_t> bytes)
     {
         PGMSEC_SECRET kek;
         std::string error;
         // Without a password: key derivation would take most of the time.
         pgmsec_read_hek(fuzz_file("in.hek", fuzz_text(bytes.data(), bytes.size())), "", kek, error);
         return false;
     },
     FIO_EXTENSION_TYPE_HEK},
    {[](std::span<const uint8_t> bytes)
     {
         std::array<uint8_t, 32> hash;
         PGMIO_BYTES der;
         std::string error;
         const std::string path = fuzz_file("in.hky", fuzz_text(bytes.data(), bytes.size()));
         pgmsec_read_hky(path, hash, error);
         pgmsec_read_hky_der(path, der, error);
         return false;
     },
     FIO_EXTENSION_TYPE_HKY},
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    const READER& reader = k_readers[(data[0] & 0x7F) % std::size(k_readers)];
    const std::vector<uint8_t> bytes = fuzz_body(data, size);
    if (reader.read(bytes) && !pgmio_check_image(bytes, reader.extension, "in").empty())
        abort(); // a file its reader accepts must pass the integrity check
    return 0;
}
