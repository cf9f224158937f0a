// SPDX-License-Identifier: Apache-2.0
// Chain description files: a chain that parses formats to text that parses to the same chain.
#include "fuzz_support.h"
#include "pgm/zeb/platform/pgmio/pgmio_text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    PGMIO_CDF_CHAIN chain;
    std::string error;
    if (!PGMIO_CDF::parse(fuzz_text(data, size), "in.cdf", chain, error))
        return 0;
    std::string text;
    PGMIO_CDF_CHAIN again;
    if (!PGMIO_CDF::format(chain, text, error) || !PGMIO_CDF::parse(text, "out.cdf", again, error) || again != chain)
        abort();
    return 0;
}
