// SPDX-License-Identifier: Apache-2.0
// Convert mode's command line: option splitting, "-o NAME=VALUE" values and the document they
// build. Arguments are separated by NUL bytes; the run happens inside the private directory and
// arguments that name a path elsewhere are dropped, so every file written stays there.
#include "fuzz_support.h"
#include "tools/cli.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const int entered = chdir(fuzz_dir().c_str());
    (void)entered;
    CLI_ARGS args;
    std::string_view in = fuzz_text(data, size);
    while (!in.empty())
    {
        const size_t end = std::min(in.find('\0'), in.size());
        const std::string arg(in.substr(0, end));
        if (arg.find('/') == std::string::npos && arg != "..")
            args.push_back(arg);
        in.remove_prefix(std::min(end + 1, in.size()));
    }
    args.insert(args.begin(), "--no-check");
    cli_mode_convert(args); // an internal error escaping here is a finding: the command line must refuse first
    return 0;
}
