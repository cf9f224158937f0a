// SPDX-License-Identifier: Apache-2.0
// Hex records: the reader, and the image of what it read, which the formatter writes back to
// records that read as the same image.
#include "fuzz_support.h"
#include "pgm/zeb/platform/pgmio/pgmio_text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    PGMIO_HEX_READER reader;
    if (!reader.read_hex_text(fuzz_text(data + 1, size - 1), "in.hex", data[0] & 1, data[0] & 2))
        return 0;
    uint32_t base = 0;
    PGMIO_BYTES image;
    std::string error;
    if (!reader.get_image(uint64_t(1) << 20, 0xFF, base, image, error))
        return 0;
    std::string text;
    PGMIO_HEX_READER again;
    uint32_t base2 = 0;
    PGMIO_BYTES image2;
    if (!pgmio_format_hex(base, image, text, error) || !again.read_hex_text(text, "out.hex", false, false) ||
        !again.get_image(uint64_t(1) << 20, 0xFF, base2, image2, error) || base2 != base || image2 != image)
        abort();
    return 0;
}
