// SPDX-License-Identifier: MIT
// Result codes in words: a table, and texts made up once for every other number that is asked about.
#include "error_text.h"

#include "kx_scanner.h"

#include <sane/sane.h>

#include <map>
#include <mutex>
#include <string>

namespace virtual_scanner {

namespace {

struct code_text {
    int code;
    const char *text;
};

constexpr code_text texts[] = {
    {SCANNER_ERR_OK, "The operation succeeded."},
    {SANE_STATUS_CANCELLED, "The operation was cancelled."},
    {SCANNER_ERR_INVALID_PARAMETER, "An argument or a value is invalid."},
    {SCANNER_ERR_INSUFFICIENT_MEMORY, "The buffer is too small or memory is short."},
    {SCANNER_ERR_ACCESS_DENIED, "Access is denied, or the setting can only be read."},
    {SCANNER_ERR_INFO_260, "The operation succeeded with additional information."},
    {SCANNER_ERR_NOT_EXACT, "The value was set to the nearest one that is allowed."},
    {SCANNER_ERR_CONFIGURATION_CHANGED, "The value was set and other settings changed with it."},
    {SCANNER_ERR_NO_DATA, "There is no more data."},
    {SCANNER_ERR_INVALID_STATE, "The operation is not possible in the current state."},
    {SCANNER_ERR_IO, "The scanner or a file could not be read."},
    {SCANNER_ERR_IO_2, "The scanner could not be written to."},
    {SCANNER_ERR_NOT_READY, "The driver is not ready."},
    {SCANNER_ERR_RELOAD_IMAGE_PARAM, "The value was set and the image parameters changed with it."},
    {SCANNER_ERR_RELOAD_OPT_PARAM, "The value was set; the image parameters and other settings changed with it."},
    {SCANNER_ERR_DEVICE_NOT_FOUND, "The scanner is not there."},
    {SCANNER_ERR_DEVICE_NOT_SUPPORT, "The scanner does not support this."},
    {SCANNER_ERR_DEVICE_BUSY, "The scanner is busy."},
    {SCANNER_ERR_DEVICE_COVER_OPENNED, "The scanner's cover is open."},
    {SCANNER_ERR_DEVICE_NO_PAPER, "There is no paper in the feeder."},
    {SCANNER_ERR_DEVICE_PAPER_JAMMED, "The paper is jammed."},
};

const char *unknown_code_text(int code)
{
    static std::mutex lock;
    static std::map<int, std::string> made_up;
    const std::lock_guard<std::mutex> guard(lock);
    std::string &text = made_up[code];
    if (text.empty())
        text = "Unknown result code " + std::to_string(code) + ".";
    return text.c_str();
}

} // namespace

const char *error_text(int code)
{
    for (const code_text &entry : texts)
        if (entry.code == code)
            return entry.text;
    return unknown_code_text(code);
}

} // namespace virtual_scanner
