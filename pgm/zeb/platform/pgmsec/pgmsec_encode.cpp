// SPDX-License-Identifier: Apache-2.0
// Encoding of configuration data with its security settings applied.
#include "pgm/zeb/platform/pgmsec/pgmsec.h"

bool pgmsec_encode_configuration(const PGMIO_CONFIG_DATA& plain, const PGMIO_SECURITY_SETTINGS& settings,
                                 const PGM_DEVICE& device, PGMIO_BYTES& image, std::string& error)
{
    if (settings.any())
    {
        error = "security settings (compression, encryption, signing, security options) are not available for "
                "device " +
                device.get_name();
        return false;
    }
    return PGMIO_RBF::encode(plain, image, error);
}
