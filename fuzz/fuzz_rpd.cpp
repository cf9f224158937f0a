// SPDX-License-Identifier: Apache-2.0
// The flash verifier on raw programming data: a walk without failure has only intact images
// inside the bytes, its report always renders, and the walk of the bytes held whole and the walk
// that reads them from a file piece by piece give the same report.
#include "fuzz_support.h"
#include "pgm/zeb/platform/pgmio/pgmio_flash_walk.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    PGMIO_FLASH_WALK walk;
    pgmio_walk_flash({data, size}, walk);
    for (const PGMIO_FLASH_WALK_IMAGE& image : walk.images)
        if (walk.failure.empty() && (!image.intact || image.start + image.size > size))
            abort();
    const std::string report = pgmio_flash_walk_json(walk);
    PGMIO_FLASH_FILE_SOURCE file;
    std::string error;
    if (!file.open(fuzz_file("in.rpd", fuzz_text(data, size)), error))
        abort();
    pgmio_walk_flash(file, walk);
    if (pgmio_flash_walk_json(walk) != report)
        abort(); // the two ways of reading the same bytes disagree
    return 0;
}
