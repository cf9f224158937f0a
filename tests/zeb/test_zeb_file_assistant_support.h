// SPDX-License-Identifier: Apache-2.0
// Shared by the document assistant's tests: short names, the internal-error catcher and the
// document's saved text.
#pragma once

#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/platform/xml/pgm_common_xml.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace assistant_test
{

using ZFA = ZEB_FILE_ASSISTANT;
using PARAMS = ZEB_FILE_ASSISTANT::PARAM_LIST;

// Short names of the parameters of each group, e.g. FD(PARTITION_ID), so that a list fits a line.
#define RF(NAME) ZEB_CMD_PARAM_RAW_FILE_##NAME
#define BS(NAME) ZEB_CMD_PARAM_BITSTREAM_##NAME
#define FD(NAME) ZEB_CMD_PARAM_FLASH_DEVICE_##NAME
#define AS(NAME) ZEB_CMD_PARAM_ASSIGNMENT_##NAME
#define OF(NAME) ZEB_CMD_PARAM_OUTPUT_FILE_##NAME

// The condition text of the internal error that `call` raises, after checking that the assistant
// raised it; "" and a test failure when `call` returns normally.
template <class CALL> std::string internal_error_of(CALL call)
{
    return corvane_test::internal_error_of(call, "zeb_file_assistant");
}

// An element and its subtree as the setup file writer writes them.
inline std::string text_of(const PGM_COMMON_XML_ELEMENT* element)
{
    std::ostringstream out;
    PGM_COMMON_XML::write_xml_element(out, element);
    return out.str();
}

} // namespace assistant_test
