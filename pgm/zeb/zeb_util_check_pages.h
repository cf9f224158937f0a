// SPDX-License-Identifier: Apache-2.0
// Private to the settings check: the page rules of the assignments.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// The page rules over the assignments that take part in them, as (partition id, page) in document
// order: the factory image on page 0, one image per page, pages 0, 1, 2... without gaps, and more
// than one page when there is a factory image. False with the first problem in `message`; `error`
// as the rule says. Kept apart from the document walk because the configuration modes that a
// document can name reserve a single partition with pages, the factory image, so that most of
// these rules can only be exercised directly.
bool zeb_check_page_rules(const std::vector<std::pair<std::string, uint32_t>>& paged, std::string& message,
                          bool& error);
