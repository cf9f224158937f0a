// SPDX-License-Identifier: Apache-2.0
// Faults of the file system around a run: the output directory missing, read-only or full, an
// output that is a symbolic link, an input deleted or changed while the run goes on, and two runs
// writing the same outputs at once. Whatever happens, an output is either complete or the old one,
// and no temporary file stays behind.
#include "test_support.h"

#include <unistd.h>

#ifndef CORVANE_EXE
#error "CORVANE_EXE must name the corvane executable (set by tests/CMakeLists.txt)"
#endif

namespace
{

namespace fs = std::filesystem;

constexpr int k_outputs = 24; // enough for a fault to land inside the run

std::string output(int i)
{
    return "out/o" + std::to_string(i) + ".rbf";
}

struct FAULT
{
    const char* what;
    std::string script;  // shell lines around "$RUN" (the corvane command), run in the scratch directory
    bool may_succeed;    // a fault that a run may finish before it strikes
    const char* message; // in standard error when the run fails
};

TEST(CliFaults, AnOutputIsCompleteOrTheOldOneAndNothingIsLeftBehind)
{
    corvane_test::SCRATCH_CWD cwd;
    ASSERT_EQ(corvane_test::corvane("--make-sof --device 7TR220PA2R1 --size 1048576 in.sof").status, 0);
    ASSERT_EQ(corvane_test::corvane("-c -o mode=AVSTX8 in.sof reference.rbf").status, 0);
    std::string document = "<zeb><settings mode='AVSTX8'/><bitstreams><bitstream id='B'><path>in.sof</path>"
                           "</bitstream></bitstreams><output_files>";
    for (int i = 0; i < k_outputs; ++i)
        document += "<output_file name='o" + std::to_string(i) +
                    "' directory='out' type='RBF'><bitstream_id>B"
                    "</bitstream_id></output_file>";
    corvane_test::write_file("doc.zeb", document + "</output_files></zeb>\n");
    const std::string in = corvane_test::read_file("in.sof");
    const std::string reference = corvane_test::read_file("reference.rbf");
    const std::string old = "the output of an earlier run\n";
    // Root writes into read-only directories unless it gives up the capability to.
    const std::string unprivileged = geteuid() == 0 ? "setpriv --bounding-set=-dac_override,-dac_read_search " : "";
    // Each run prints to "log". This one waits until the run has written its first output, then faults.
    const std::string after_first = "\"$RUN\" doc.zeb >log 2>err & pid=$!\n"
                                    "n=0; while [ ! -e out/o0.rbf ] && kill -0 $pid 2>/dev/null && [ $n -lt 3000 ]; do "
                                    "sleep 0.01; n=$((n+1)); done\n";

    const FAULT faults[] = {
        {"output directory missing", "rm -r out; \"$RUN\" doc.zeb >log 2>err", false, "doesn't exist"},
        {"output directory read-only", "chmod 555 out; " + unprivileged + "\"$RUN\" doc.zeb >log 2>err", false,
         "Permission denied"},
        {"output directory full", "(trap '' XFSZ; ulimit -f 512; exec \"$RUN\" doc.zeb >log 2>err)", false,
         "File too large"},
        {"output is a symbolic link",
         "echo link target > target; ln -sf ../target out/o0.rbf; \"$RUN\" doc.zeb >log 2>err", true, ""},
        {"input deleted during the run", after_first + "rm in.sof; wait $pid", true, "in.sof"},
        {"input changed during the run", after_first + "head -c 5000 /dev/zero > in.sof; wait $pid", true, "in.sof"},
        {"two runs at once",
         "\"$RUN\" doc.zeb >/dev/null 2>err & \"$RUN\" doc.zeb >log 2>err2; s=$?; wait $! && exit $s", true, ""},
    };
    for (const FAULT& fault : faults)
    {
        SCOPED_TRACE(fault.what);
        fs::remove_all("out");
        fs::create_directories("out");
        corvane_test::write_file("in.sof", in);
        fs::remove("log");
        for (int i = 0; i < k_outputs; ++i)
            corvane_test::write_file(output(i), old);
        corvane_test::write_file("fault.sh", "RUN='" CORVANE_EXE "'\n" + fault.script + "\n");
        const corvane_test::PROGRAM_RUN run = corvane_test::run_program("/bin/sh", "fault.sh");
        const std::string err = corvane_test::read_file("err");

        EXPECT_TRUE(run.status == 0 || run.status == 1) << run.status << ' ' << err;
        EXPECT_TRUE(run.status != 0 || fault.may_succeed) << err;
        if (run.status != 0)
        {
            EXPECT_NE(err.find(fault.message), std::string::npos) << err;
        }
        if (!fs::exists("out"))
            continue;
        // Only the outputs: no temporary or staged file beside them.
        EXPECT_EQ(std::distance(fs::directory_iterator("out"), fs::directory_iterator()), k_outputs);
        // Each output is new and complete or the old one, and the run reports exactly the new ones.
        const std::string log = corvane_test::read_file("log");
        size_t reported = 0;
        for (size_t at = log.find("written: "); at != std::string::npos; at = log.find("written: ", at + 1))
            ++reported;
        size_t fresh = 0;
        for (int i = 0; i < k_outputs; ++i)
        {
            const std::string content = corvane_test::read_file(output(i));
            EXPECT_FALSE(fs::is_symlink(output(i))) << i;
            EXPECT_TRUE(content == reference || (run.status != 0 && content == old)) << i;
            fresh += content == reference;
        }
        EXPECT_EQ(reported, fresh) << log;
        if (fs::exists("target"))
        {
            EXPECT_EQ(corvane_test::read_file("target"), "link target\n");
        }
        fs::permissions("out", fs::perms::owner_all, fs::perm_options::add);
    }
}

} // namespace
