// SPDX-License-Identifier: Apache-2.0
// The writer driver: every file a conversion setup asks for. Each output is first written (itself
// atomically) under a staging name beside its target; only when every output of the conversion
// succeeded are they renamed into place, so a failed conversion leaves the directory as it was.
#include "pgm/zeb/platform/bitasm/bitasm.h"
#include "pgm/zeb/platform/pgmconv/pgmconv_engine.h"

#include <cstdio>
#include <string>
#include <vector>

#include <unistd.h>

namespace
{

// Staged outputs carry the process id, so that two runs writing the same outputs at once never
// write into one staging file; each target is then the complete file of one of them.
std::string staging_path(const std::string& target)
{
    return target + ".corvane-" + std::to_string(::getpid()) + "-staged";
}

class STAGED_OUTPUTS
{
public:
    ~STAGED_OUTPUTS()
    {
        for (const auto& [target, staged] : m_files)
            std::remove(staged.c_str());
    }
    // The staging path of a target.
    std::string stage(const std::string& target, bool container)
    {
        m_files.emplace_back(target, staging_path(target));
        m_container.push_back(container);
        return m_files.back().second;
    }
    // Reads every container output back and checks it.
    bool verify(std::string& error) const
    {
        for (size_t i = 0; i < m_files.size(); ++i)
            if (m_container[i])
            {
                const std::string failure = BITASM_MGR::check_bitstream_integrity(m_files[i].second);
                if (!failure.empty())
                {
                    error = "'" + m_files[i].first + "' does not read back: " + failure;
                    return false;
                }
            }
        return true;
    }
    bool commit(std::string& error)
    {
        // Every target is checked before the first one is replaced, so none is replaced in vain.
        for (const auto& [target, staged] : m_files)
            if (!fio_check_output_file(target, error))
                return false;
        for (const auto& [target, staged] : m_files)
            if (std::rename(staged.c_str(), target.c_str()) != 0)
            {
                error = "cannot rename '" + staged + "' to '" + target + "'";
                return false;
            }
        m_files.clear();
        return true;
    }

private:
    std::vector<std::pair<std::string, std::string>> m_files;
    std::vector<bool> m_container;
};

// The output path for a kind: the output file when it has the kind's extension, else beside it.
std::string target_path(const FIO_PATH& output, const char* extension)
{
    return output.get_extension() == extension ? output.get_full_path() : pgmconv_sibling_path(output, extension);
}

std::string chosen_path(const FIO_PATH& given, const FIO_PATH& output, const char* extension)
{
    return given.is_empty() ? pgmconv_sibling_path(output, extension) : given.get_full_path();
}

bool write_all(const PGMIO_CCF::STATE& s, STAGED_OUTPUTS& staged, std::string& error)
{
    const PGMIO_FILE_OPTIONS& o = *s.options;
    const FIO_PATH& out = s.output_file;
    if (out.is_empty())
    {
        error = "no output file is set";
        return false;
    }
    const bool split = s.cvp || s.hps_iocsr;
    if (o.write_rbf && !s.helper_output && !split &&
        !pgmconv_write_rbf(s, staged.stage(out.get_full_path(), true), error))
        return false;
    // A split configuration: the core file always, the first half as the .rbf output asks.
    if (split)
    {
        const PGMIO_SPLIT_PATHS halves = pgmio_split_paths(out, s.cvp);
        const std::string first = o.write_rbf ? staged.stage(halves.first.get_full_path(), true) : "";
        if (!pgmconv_write_split(s, staged.stage(halves.core.get_full_path(), true), first, error))
            return false;
    }
    if (s.helper_output && !pgmconv_write_helper(s, staged.stage(chosen_path(s.helper_file, out, "rbf"), true), error))
        return false;
    if (o.write_hexout && !pgmconv_write_hexout(s, staged.stage(out.get_full_path(), false), error))
        return false;
    if (o.write_ttf && !pgmconv_write_ttf(s, staged.stage(out.get_full_path(), false), error))
        return false;

    const bool jic = o.write_jic || s.jic_output;
    // With a flash device every flash output walks its layout; without one, SRAM object files are
    // laid out from the start address.
    const bool flash =
        o.write_pof || jic ||
        (!s.flash_device.empty() && (o.write_rpd_from_pof || o.write_rpd_from_sof || s.mem_map || s.auto_rpd));
    if (flash || o.write_rpd_from_sof)
    {
        PGMCONV_LAYOUT layout;
        if (!pgmconv_build_layout(s, flash, layout, error))
            return false;
        if (o.write_pof &&
            !pgmconv_write_flash_file(s, layout, false, staged.stage(target_path(out, "pof"), true), error))
            return false;
        if (jic && !pgmconv_write_flash_file(s, layout, true, staged.stage(target_path(out, "jic"), true), error))
            return false;
        if ((o.write_rpd_from_pof || o.write_rpd_from_sof) &&
            !pgmconv_write_rpd(s, layout, staged.stage(target_path(out, "rpd"), false), error))
            return false;
        if (s.auto_rpd &&
            !pgmconv_write_rpd(s, layout, staged.stage(chosen_path(s.auto_rpd_path, out, "rpd"), false), error))
            return false;
        if (s.mem_map &&
            !pgmconv_write_map(s, layout, staged.stage(chosen_path(s.mem_map_path, out, "map"), false), error))
            return false;
    }
    else if (o.write_rpd_from_pof)
    {
        // Raw programming data of a programmer object or JTAG indirect file given as the input.
        const PGMIO_CCF_PAGE* page = s.pages.empty() ? nullptr : &s.pages.front();
        if (!page || page->input.is_empty())
        {
            error = "raw programming data needs a programmer object or JTAG indirect configuration file";
            return false;
        }
        if (!pgmconv_write_rpd_of_flash_file(s, page->input, staged.stage(target_path(out, "rpd"), false), error))
            return false;
    }
    return true;
}

} // namespace

bool PGMIO_F2P::convert_sram_files(PGMIO_CCF& ccf)
{
    const PGMIO_CCF::STATE& state = ccf.state();
    state.error.clear();
    STAGED_OUTPUTS staged;
    std::string error;
    if (!write_all(state, staged, error) || (state.verify_outputs && !staged.verify(error)) || !staged.commit(error))
    {
        state.error = error;
        return false;
    }
    return true;
}
