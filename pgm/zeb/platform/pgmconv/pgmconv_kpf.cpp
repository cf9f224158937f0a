// SPDX-License-Identifier: Apache-2.0
// Key programming file output: the keys that the security settings of the asked pages name, for
// the device their images target (pgmsec builds and writes them). Nothing is written unless the
// setup asks for key programming (set_gen_kpf); a path of another kind than .ekp names the file
// beside which the .ekp goes, so that a configuration output is never overwritten by its keys.
#include "pgm/zeb/platform/pgmconv/pgmconv_engine.h"

bool PGMIO_CCF::generate_key_prog_file(const FIO_PATH& path)
{
    const STATE& s = *m_state;
    if (!s.gen_kpf)
        return true;
    FIO_PATH target = path;
    if (target.get_extension_type() != FIO_EXTENSION_TYPE_EKP)
        target.set_extension(fio_get_extension_string(FIO_EXTENSION_TYPE_EKP));
    PGMSEC_KEY_PROGRAMMING programming;
    bool asked = false;
    for (uint32_t page = 0; page < s.pages.size(); ++page)
    {
        const PGMIO_SECURITY_SETTINGS& security = s.pages[page].security;
        const bool keys = security.encryption || security.signing != PGMIO_SIGNING_OFF || !security.hky_file.empty();
        if ((s.kpf_page != PGMIO_CCF_ALL_PAGES && s.kpf_page != page) || !keys ||
            (s.kpf_device != PGMIO_CCF_ALL_PAGES && s.kpf_device != s.pages[page].device_index))
            continue;
        PGMCONV_PAGE_IMAGE image;
        if (!pgmconv_page_image(s, page, image, s.error) ||
            !pgmsec_add_key_programming(security, *image.device, programming, s.error))
            return false;
        asked = true;
    }
    std::string fuse_path;
    return !asked || pgmsec_write_key_programming(target.get_full_path(), programming, fuse_path, s.error);
}
