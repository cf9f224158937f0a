// SPDX-License-Identifier: Apache-2.0
// The flash verifier on raw programming data: a walk without failure has only intact images
// inside the bytes, and its report always renders.
#include "fuzz_support.h"
#include "pgm/zeb/platform/pgmio/pgmio_flash_walk.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    PGMIO_FLASH_WALK walk;
    pgmio_walk_flash({data, size}, walk);
    for (const PGMIO_FLASH_WALK_IMAGE& image : walk.images)
        if (walk.failure.empty() && (!image.intact || image.start + image.size > size))
            abort();
    pgmio_flash_walk_json(walk);
    return 0;
}
