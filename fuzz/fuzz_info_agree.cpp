// SPDX-License-Identifier: Apache-2.0
// Differential: the same bytes under one of our extensions (picked by the first byte, which also
// says whether CRCs are repaired) through `--info` description, the integrity check and the input
// precheck. The description and the check must give the same verdict, and a file the precheck
// accepts must pass the check.
#include "fuzz_support.h"
#include "pgm/zeb/platform/bitasm/bitasm.h"
#include "pgm/zeb/platform/pgmio/pgmio_info.h"
#include "pgm/zeb/platform/pgmio/pgmio_precheck.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const char* const k_names[] = {"in.sof", "in.pof", "in.jic", "in.rbf", "in.msf", "in.pmsf",
                                          "in.ekp", "in.hex", "in.hexout", "in.cdf", "in.rpd"};
    if (size < 2)
        return 0;
    const size_t pick = (data[0] & 0x7F) % std::size(k_names);
    const std::vector<uint8_t> body = fuzz_body(data, size);
    const std::string path = fuzz_file(k_names[pick], fuzz_text(body.data(), body.size()));
    const std::string check = BITASM_MGR::check_bitstream_integrity(path);
    PGMIO_FILE_INFO info;
    std::string error;
    const bool described = pgmio_describe_file(path, info, error);
    const bool intact = described && info.integrity.empty();
    if (intact != check.empty())
        abort(); // one path accepts what the other refuses
    const FIO_PATH file(path);
    const PGM_DEVICE* device = nullptr;
    if (pick > 5)
        return 0; // the precheck reads object files and configuration data only
    const bool prechecked = pick == 3
                                ? PGMIO_POFIO_UTIL_EXPORT::precheck_raw_binary_file(file, &device, nullptr, error)
                                : PGMIO_POFIO_UTIL_EXPORT::precheck_object_file(file, &device, nullptr, error);
    if (prechecked && !check.empty())
        abort(); // the precheck let through a file the integrity check refuses
    return 0;
}
