// SPDX-License-Identifier: Apache-2.0
// The layout picture: each flash device of a document drawn to scale as SVG, with reserved areas,
// pages, raw data and free space, each labelled with its name, address range and size.
#include "cli.h"

#include "pgm/zeb/platform/pgmconv/pgmconv_picture.h"
#include "pgm/zeb/platform/pgmio/pgmio_container.h"
#include "pgm/zeb/platform/xml/pgm_common_xml.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_util.h"

#include <algorithm>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <iostream>

namespace
{

// Geometry of one flash drawing, in SVG units.
constexpr double k_bar_x = 20;
constexpr double k_bar_width = 140;
constexpr double k_bar_height = 640;
constexpr double k_label_x = 200;
constexpr double k_line_height = 16; // labels never come closer than this
constexpr double k_title_height = 40;
constexpr double k_width = 760;

struct KIND_STYLE
{
    const char* kind;
    const char* fill;
};
constexpr KIND_STYLE k_styles[] = {
    {"page", "#4e79a7"}, {"raw", "#59a14f"}, {"reserved", "#e15759"}, {"directory", "#f28e2b"}, {"free", "#e8e8e8"},
};

const char* fill_of(const std::string& kind)
{
    for (const KIND_STYLE& style : k_styles)
        if (kind == style.kind)
            return style.fill;
    return "#bab0ac";
}

std::string format(const char* pattern, ...) __attribute__((format(printf, 1, 2)));
std::string format(const char* pattern, ...)
{
    char text[256];
    va_list args;
    va_start(args, pattern);
    std::vsnprintf(text, sizeof text, pattern, args);
    va_end(args);
    return text;
}

std::string size_text(uint64_t bytes)
{
    if (bytes >= 1024 * 1024 && bytes % (1024 * 1024) == 0)
        return format("%" PRIu64 " MiB", bytes / (1024 * 1024));
    if (bytes >= 1024 && bytes % 1024 == 0)
        return format("%" PRIu64 " KiB", bytes / 1024);
    return format("%" PRIu64 " bytes", bytes);
}

// The areas with the gaps between them as free space.
std::vector<PGMCONV_PICTURE_AREA> with_free_space(const PGMCONV_PICTURE& picture)
{
    std::vector<PGMCONV_PICTURE_AREA> areas;
    uint64_t next = 0;
    for (const PGMCONV_PICTURE_AREA& area : picture.areas)
    {
        if (area.start > next)
            areas.push_back({"free", "free", next, area.start - 1, 0});
        areas.push_back(area);
        next = std::max(next, area.end + 1);
    }
    if (next < picture.flash_size)
        areas.push_back({"free", "free", next, picture.flash_size - 1, 0});
    return areas;
}

// One flash drawing at vertical offset `top`; returns its height.
double draw_flash(std::string& svg, const PGMCONV_PICTURE& picture, double top)
{
    svg += format("<text x='%g' y='%g' font-size='15' font-weight='bold'>", k_bar_x, top + 20) +
           PGM_COMMON_XML::escape(picture.flash_device, false) +
           format(" (%s, 0x%08" PRIX64 " bytes)</text>\n", size_text(picture.flash_size).c_str(), picture.flash_size);
    const double bar_top = top + k_title_height;
    const double scale = k_bar_height / static_cast<double>(picture.flash_size);
    const std::vector<PGMCONV_PICTURE_AREA> areas = with_free_space(picture);
    double label_y = bar_top;
    for (const PGMCONV_PICTURE_AREA& area : areas)
    {
        const double y = bar_top + static_cast<double>(area.start) * scale;
        const double height = std::max(1.0, static_cast<double>(area.end - area.start + 1) * scale);
        svg += format("<rect x='%g' y='%.2f' width='%g' height='%.2f' fill='%s' stroke='#333' stroke-width='0.5'/>\n",
                      k_bar_x, y, k_bar_width, height, fill_of(area.kind));
        // Labels go in a column beside the bar, pushed down so that small areas stay readable,
        // with a leader line to the middle of their area.
        label_y = std::max(label_y + k_line_height, y + std::min(height / 2, 12.0) + 4);
        const double middle = y + height / 2;
        svg += format("<line x1='%g' y1='%.2f' x2='%g' y2='%.2f' stroke='#777' stroke-width='0.5'/>\n",
                      k_bar_x + k_bar_width, middle, k_label_x - 4, label_y - 4);
        const std::string used =
            area.kind == "free" || area.used == 0 ? std::string() : ", " + size_text(area.used) + " used";
        svg += format("<text x='%g' y='%.2f' font-size='12' font-family='monospace'>", k_label_x, label_y) +
               PGM_COMMON_XML::escape(area.kind == "free" ? "" : area.name + " ", false) +
               format("%s 0x%08" PRIX64 "-0x%08" PRIX64 " (%s%s)</text>\n", area.kind.c_str(), area.start, area.end,
                      size_text(area.end - area.start + 1).c_str(), used.c_str());
    }
    return k_title_height + std::max(k_bar_height, label_y - bar_top) + 30;
}

} // namespace

bool cli_layout_svg(PGM_COMMON_XML_ZEB_ZEB* document, std::string& svg)
{
    svg.clear();
    std::vector<PGMCONV_PICTURE> pictures;
    if (!cli_document_checkable(document) || !ZEB_UTIL::get_flash_layouts(document, pictures))
        return false;
    std::string body;
    double height = 0;
    for (const PGMCONV_PICTURE& picture : pictures)
        height += draw_flash(body, picture, height);
    if (height == 0)
        return true;
    svg = format("<?xml version='1.0' encoding='UTF-8'?>\n<svg xmlns='http://www.w3.org/2000/svg' "
                  "width='%g' height='%g' viewBox='0 0 %g %g'>\n<rect width='100%%' height='100%%' "
                  "fill='white'/>\n",
                  k_width, height, k_width, height) +
          body + "</svg>\n";
    return true;
}

bool cli_write_layout(PGM_COMMON_XML_ZEB_ZEB* document, const std::string& path)
{
    std::string svg;
    if (!cli_layout_svg(document, svg))
        return false;
    if (svg.empty())
    {
        cli_print_error("--layout: the document has no flash output to draw");
        return false;
    }
    std::string error;
    if (!pgmio_write_file_atomic(path, std::span(reinterpret_cast<const uint8_t*>(svg.data()), svg.size()), error))
    {
        cli_print_error("--layout: " + error);
        return false;
    }
    std::cout << "written: " << path << " (layout picture)\n";
    return true;
}
