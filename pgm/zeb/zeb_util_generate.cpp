// SPDX-License-Identifier: Apache-2.0
// ZEB_UTIL generation driver: every output file of a checked document, one conversion setup per
// pass, handed to the writer that the output file type selects.
#include "pgm/zeb/platform/bitasm/bitasm.h"
#include "pgm/zeb/platform/pgmconv/pgmconv.h"
#include "pgm/zeb/zeb_db_util.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_messages.h"
#include "pgm/zeb/zeb_util.h"
#include "pgm/zeb/zeb_util_check_consistency.h"
#include "pgm/zeb/zeb_util_precheck_scope.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace
{

// Types 0, 2, 3, 4, 5, 8, 16, 17, 18, 26, 27 and 28: the configuration data, flash and helper image
// files that the engine writes from a conversion setup.
constexpr uint32_t k_engine_written_types = 0x1c07013d;

bool is_partial_reconfiguration(ZEB_FILE_TYPE type)
{
    return (type >= ZEB_FILE_TYPE_PMSF && type <= ZEB_FILE_TYPE_MERGED_PMSF) ||
           type == ZEB_FILE_TYPE_RBF_PARTIAL_RECONFIGURATION;
}

bool is_engine_written(ZEB_FILE_TYPE type)
{
    return type >= 0 && type <= ZEB_FILE_TYPE_HELPER_RBF && (k_engine_written_types >> type & 1);
}

void post_generic_error(const FIO_PATH& output, const std::string& reason)
{
    zeb_post_message(EZEB_GENERIC_ERROR, {output.get_full_path(), reason});
}

// An SRAM object file output only serves to embed an HPS bootloader into the single input.
bool generate_sof_output(PGM_COMMON_XML_ZEB_ZEB* object)
{
    const std::vector<FIO_PATH> paths = ZEB_FILE_ASSISTANT::get_output_file_path(object);
    ZEB_UTIL_ASSERT(paths.size() == 1);
    const std::vector<PGM_COMMON_XML_ZEB_PATH*> path_elements = ZEB_FILE_ASSISTANT::get_path_elements(object);
    ZEB_UTIL_ASSERT(path_elements.size() == 1);
    const FIO_PATH input(path_elements.front()->get_text());
    const std::string& hps_path = path_elements.front()->get_hps_path();
    const FIO_PATH bootloader = hps_path.empty() ? FIO_PATH() : FIO_PATH(hps_path);
    if (bootloader.is_empty())
    {
        post_generic_error(paths.front(), "No supported option is specified, thus, no change on input file");
        return false;
    }
    const std::string reason = BITASM_MGR::embedded_bootloader_into_sof(
        input.get_full_path(), paths.front().get_full_path(), bootloader.get_full_path());
    if (reason.empty())
        return true;
    post_generic_error(paths.front(), reason);
    return false;
}

// Where the key programming file that an output file asks for with a secondary file goes: beside
// the output, under the secondary file's name if it has one; empty when none is asked for. The key
// programming writer writes at the path it is given, so the output itself is never passed.
FIO_PATH key_programming_path(const PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file, const FIO_PATH& output)
{
    for (const PGM_COMMON_XML_ZEB_SECONDARY_FILE* secondary : output_file->get_secondary_file_list())
        if (ZEB_DB_UTIL::get_zeb_file_type_enum(secondary->get_type()) == ZEB_FILE_TYPE_EKP)
        {
            FIO_PATH path = output;
            if (!secondary->get_name().empty())
                path.set_base_name(secondary->get_name());
            path.set_extension(fio_get_extension_string(FIO_EXTENSION_TYPE_EKP));
            return path;
        }
    return FIO_PATH();
}

// The engine's reason for a failed write, posted against the output file so that the user sees
// which file failed and why.
bool report_engine_failure(PGMIO_CCF* ccf)
{
    const std::string& reason = ccf->get_error();
    post_generic_error(ccf->get_output_file(), reason.empty() ? "the programming-file writer failed" : reason);
    return false;
}

// Removes, unless dismissed, the files of an output file that appeared or changed since it was
// made: a failed output file leaves nothing of its own behind, also when an internal error ends it.
class OUTPUT_FILE_GUARD
{
public:
    explicit OUTPUT_FILE_GUARD(std::vector<FIO_PATH> paths) : m_paths(std::move(paths))
    {
        for (const FIO_PATH& path : m_paths)
            m_before.push_back(stamp(path));
    }
    ~OUTPUT_FILE_GUARD()
    {
        if (m_dismissed)
            return;
        for (size_t i = 0; i < m_paths.size(); ++i)
        {
            std::error_code ignored;
            const auto now = stamp(m_paths[i]);
            if (now && now != m_before[i])
                std::filesystem::remove(m_paths[i].get_full_path(), ignored);
        }
    }
    OUTPUT_FILE_GUARD(const OUTPUT_FILE_GUARD&) = delete;
    OUTPUT_FILE_GUARD& operator=(const OUTPUT_FILE_GUARD&) = delete;
    void dismiss() { m_dismissed = true; }

private:
    using STAMP = std::optional<std::pair<std::filesystem::file_time_type, uintmax_t>>;
    static STAMP stamp(const FIO_PATH& path)
    {
        std::error_code error;
        const auto time = std::filesystem::last_write_time(path.get_full_path(), error);
        if (error)
            return std::nullopt;
        const uintmax_t size = std::filesystem::file_size(path.get_full_path(), error);
        return std::make_pair(time, error ? 0 : size);
    }

    std::vector<FIO_PATH> m_paths;
    std::vector<STAMP> m_before;
    bool m_dismissed = false;
};

} // namespace

std::vector<FIO_PATH> ZEB_UTIL::get_output_file_paths(PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file)
{
    ZEB_UTIL_ASSERT(output_file);
    std::vector<FIO_PATH> paths;
    if (output_file->get_directory().empty() || output_file->get_name().empty())
        return paths;
    const auto path_of = [&](PGM_COMMON_XML_ENUM type, const std::string& name)
    {
        const FIO_EXTENSION_TYPE extension = ZEB_DB::get_fio_ext_enum(ZEB_DB_UTIL::get_zeb_file_type_enum(type));
        return FIO_PATH(output_file->get_directory(), name, fio_get_extension_string(extension));
    };
    paths.push_back(path_of(output_file->get_type(), output_file->get_name()));
    // A CvP or HPS variant is written as two raw binary files, the core and the first half.
    if (output_file->get_cvp() || output_file->get_hps())
    {
        const PGMIO_SPLIT_PATHS halves = pgmio_split_paths(paths.front(), output_file->get_cvp());
        paths.push_back(halves.core);
        paths.push_back(halves.first);
    }
    for (const PGM_COMMON_XML_ZEB_SECONDARY_FILE* secondary : output_file->get_secondary_file_list())
        paths.push_back(path_of(secondary->get_type(),
                                secondary->get_name().empty() ? output_file->get_name() : secondary->get_name()));
    return paths;
}

namespace
{

// The byte progress of the output file being generated, handed to each conversion setup it makes;
// set only for the duration of one output file, on the calling thread.
thread_local const PGMIO_CCF::PROGRESS* t_progress = nullptr;

struct PROGRESS_SCOPE
{
    explicit PROGRESS_SCOPE(const PGMIO_CCF::PROGRESS& progress) { t_progress = progress ? &progress : nullptr; }
    ~PROGRESS_SCOPE() { t_progress = nullptr; }
    PROGRESS_SCOPE(const PROGRESS_SCOPE&) = delete;
    PROGRESS_SCOPE& operator=(const PROGRESS_SCOPE&) = delete;
};

} // namespace

bool ZEB_UTIL::generate(PGM_COMMON_XML_ZEB_ZEB* object)
{
    return generate(object, GENERATE_PROGRESS());
}

bool ZEB_UTIL::generate(PGM_COMMON_XML_ZEB_ZEB* object, const GENERATE_PROGRESS& progress)
{
    const ZEB_PRECHECK_SCOPE precheck_scope;
    ZEB_UTIL_ASSERT(object);
    const std::vector<PGM_COMMON_XML_ZEB_OUTPUT_FILE*> output_files =
        ZEB_FILE_ASSISTANT::get_output_file_elements(object);
    // A document that the settings check lets through but from which no correct file can be made
    // (an address read only in part, a reference that names nothing, content larger than its
    // partition, ...) is refused before anything is written.
    if (!output_files.empty() && !zeb_check_consistency_and_report(object))
        return false;
    for (size_t i = 0; i < output_files.size(); ++i)
    {
        PGMIO_CCF::PROGRESS bytes;
        if (progress)
        {
            const std::vector<FIO_PATH> paths = get_output_file_paths(output_files[i]);
            const FIO_PATH path = paths.empty() ? FIO_PATH() : paths.front();
            progress(i, output_files.size(), path, 0, 0);
            bytes = [&progress, i, count = output_files.size(), path](uint64_t done, uint64_t total)
            { progress(i, count, path, done, total); };
        }
        const PROGRESS_SCOPE scope(bytes);
        if (!generate_output_file(object, output_files[i]))
            return false;
    }
    return true;
}

bool ZEB_UTIL::generate_output_file(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file)
{
    ZEB_UTIL_ASSERT(object);
    ZEB_UTIL_ASSERT(output_file);
    const size_t references = output_file->get_bitstream_id_list().size();
    const uint32_t passes = references > 1 ? static_cast<uint32_t>(references) : 1;
    const ZEB_FILE_TYPE type = ZEB_DB_UTIL::get_zeb_file_type_enum(output_file->get_type());

    OUTPUT_FILE_GUARD guard(get_output_file_paths(output_file));
    bool result = false;
    std::unique_ptr<PGMIO_CCF> ccf;
    for (uint32_t pass = 0; pass < passes; ++pass)
    {
        if (type == ZEB_FILE_TYPE_SOF)
        {
            result = generate_sof_output(object);
            continue;
        }
        PGMIO_CCF* raw = nullptr;
        result = convert_zeb_to_ccf(object, output_file, pass, &raw);
        ccf.reset(raw); // a pass replaces the setup of the pass before
        if (ccf && t_progress)
            ccf->set_progress(*t_progress);
        if (!result)
        {
            // The conversion posts its own messages; an input that the engine refused is told here.
            if (ccf && !ccf->get_error().empty())
                post_generic_error(FIO_PATH(get_output_file_paths(output_file).front()), ccf->get_error());
            continue;
        }

        if (is_partial_reconfiguration(type))
        {
            result = PGMIO_PR_INTERFACE::process_pr_commands(ccf.get()) || report_engine_failure(ccf.get());
            continue;
        }
        if (output_file->get_cvp() && !convert_zeb_to_ccf_setup_cvp(ccf.get()))
        {
            result = false;
            continue;
        }
        if (output_file->get_hps() && !convert_zeb_to_ccf_setup_hps(ccf.get()))
        {
            result = false;
            continue;
        }

        if (is_engine_written(type))
        {
            result = PGMIO_F2P::convert_sram_files(*ccf);
            // Key programming is written only when the output file asks for it (an EKP secondary
            // file, under its own name when it has one).
            const FIO_PATH key_programming = key_programming_path(output_file, ccf->get_output_file());
            if (result)
                result = ccf->generate_key_prog_file(key_programming.is_empty() ? ccf->get_output_file()
                                                                                 : key_programming);
            if (!result)
                report_engine_failure(ccf.get());
        }
        else if (type == ZEB_FILE_TYPE_EKP)
        {
            // The key programming file is written at the output path, never over the single input.
            const std::vector<FIO_PATH> paths = ZEB_FILE_ASSISTANT::get_input_file_path(object);
            ZEB_UTIL_ASSERT(paths.size() == 1);
            result = ccf->generate_key_prog_file(ccf->get_output_file()) || report_engine_failure(ccf.get());
        }
        else if (type >= ZEB_FILE_TYPE_JAM && type <= ZEB_FILE_TYPE_SVF)
            result = generate_player_file(object, type, ccf.get());
        else
            ZEB_UTIL_INTERNAL_ERROR(msg_printf("Unrecognized output file type %d", static_cast<int>(type)).c_str());
    }
    if (result)
        guard.dismiss();
    return result;
}
