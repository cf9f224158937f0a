// SPDX-License-Identifier: Apache-2.0
// Bitstream security figures on the configuration data of the catalogue's largest device, with
// synthetic content of real-design structure: LZ4 and LZ4 HC throughput and ratio, AES-GCM
// throughput, and signing time beside the time of hashing the signed bytes. Prints "name value"
// lines; bench/bench_security.sh runs it beside the lz4 and openssl commands on the same bytes.
#include "pgm/zeb/platform/bitasm/bitasm.h"
#include "pgm/zeb/platform/pgmsec/pgmsec_internal.h"

#include <chrono>
#include <cstdio>
#include <functional>
#include <string>

namespace
{

// Best wall time of `runs` runs, in seconds.
double best_of(int runs, const std::function<void()>& work)
{
    double best = 1e30;
    for (int i = 0; i < runs; ++i)
    {
        const auto start = std::chrono::steady_clock::now();
        work();
        best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return best;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
    {
        std::fprintf(stderr, "usage: bench_security OUT_DIR KEY_DIR\n");
        return 2;
    }
    const std::string out = argv[1];
    const std::string keys = argv[2];
    const PGM_DEVICE* device = nullptr;
    uint64_t largest = 0;
    for (const char* name : {"7TR440PA3R1", "7TR220PA2R1", "6DS250M2", "9RX065R2A"})
    {
        const PGM_DEVICE* candidate = PGM_DEVICE_INDEX::lookup_device(name);
        if (candidate && candidate->get_fpga_record()->config_data_size > largest)
            largest = candidate->get_fpga_record()->config_data_size, device = candidate;
    }
    BITASM_OPTIONS options;
    options.utilization = 30;
    PGMIO_CONFIG_DATA plain;
    std::string error;
    if (!device || !BITASM_MGR::assemble_configuration_data(*device, options, plain, error))
    {
        std::fprintf(stderr, "bench_security: %s\n", error.c_str());
        return 1;
    }
    PGMIO_BYTES payload;
    for (const PGMIO_CONFIG_SECTION& section : plain.sections)
        payload.insert(payload.end(), section.data.begin(), section.data.end());
    if (!pgmio_write_file_atomic(out + "/payload.bin", payload, error))
    {
        std::fprintf(stderr, "bench_security: %s\n", error.c_str());
        return 1;
    }
    const double mb = double(payload.size()) / 1e6;
    std::printf("device %s\nbytes %zu\n", device->get_name().c_str(), payload.size());

    PGMIO_BYTES frame;
    double seconds = best_of(3, [&] { pgmsec_lz4_compress(payload, false, frame, error); });
    std::printf("lz4_mb_s %.1f\nlz4_ratio %.3f\n", mb / seconds, double(payload.size()) / double(frame.size()));
    seconds = best_of(1, [&] { pgmsec_lz4_compress(payload, true, frame, error); });
    std::printf("lz4hc_mb_s %.1f\nlz4hc_ratio %.3f\n", mb / seconds, double(payload.size()) / double(frame.size()));

    PGMSEC_SECRET key(32);
    std::array<uint8_t, PGMSEC_IV_SIZE> iv{};
    std::array<uint8_t, PGMSEC_TAG_SIZE> tag{};
    PGMIO_BYTES cipher;
    seconds = best_of(3, [&] { pgmsec_gcm_encrypt(key.span(), iv, {}, payload, cipher, tag, error); });
    std::printf("gcm_mb_s %.1f\n", mb / seconds);
    // As openssl speed measures: 16 KiB blocks that stay in the cache.
    const std::span<const uint8_t> block = std::span<const uint8_t>(payload).first(16384);
    PGMIO_BYTES block_cipher;
    constexpr int k_blocks = 16384;
    seconds = best_of(3,
                      [&]
                      {
                          for (int i = 0; i < k_blocks; ++i)
                              pgmsec_gcm_encrypt(key.span(), iv, {}, block, block_cipher, tag, error);
                      });
    std::printf("gcm_16k_mb_s %.1f\n", double(block.size()) * k_blocks / 1e6 / seconds);

    PGMIO_SECURITY_SETTINGS signing;
    signing.signing = PGMIO_SIGNING_ON;
    signing.signing_pem_file = keys + "/key.pem";
    PGMIO_BYTES image;
    PGMIO_SECURITY_SETTINGS none;
    const double encode = best_of(3, [&] { pgmsec_encode_configuration(plain, none, *device, image, error); });
    const double hash = best_of(3, [&] { pgmsec_sha384(image); });
    bool ok = true;
    const double sign =
        best_of(3, [&] { ok = ok && pgmsec_encode_configuration(plain, signing, *device, image, error); });
    if (!ok)
    {
        std::fprintf(stderr, "bench_security: %s\n", error.c_str());
        return 1;
    }
    std::printf("sign_ms %.1f\nsign_plain_encode_ms %.1f\nsign_extra_ms %.1f\nsign_sha384_ms %.1f\n", sign * 1e3,
                encode * 1e3, (sign - encode) * 1e3, hash * 1e3);
    return 0;
}
