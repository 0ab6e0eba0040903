// SPDX-License-Identifier: MIT
// Profile text in, checked description out. Whatever is wrong becomes a profile_error with file, place and reason;
// nothing after this file has to doubt the description. Tested by driver_profile_test.
#include "profile.h"

#include "information.h"
#include "option.h"
#include "option_ids.h"
#include "pix.h"
#include "profile_reader.h"
#include "text_value.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace virtual_scanner {

namespace {

constexpr std::size_t memory_of_a_byte = 64; // of a profile's text, while it is read

constexpr std::size_t largest_file = std::size_t{16} << 20;

std::string field_text(const profile_node &node)
{
    std::string text = node.text();
    if (text.empty() || text.size() > 255)
        node.fail("1 to 255 bytes are expected");
    return text;
}

device_identity read_device(const profile_node &node)
{
    node.expect_keys({"name", "vendor", "model", "type"});
    device_identity device{field_text(node.at("name")), field_text(node.at("vendor")), field_text(node.at("model")),
                           field_text(node.at("type"))};
    if (device.name.find_first_of(" \t") != std::string::npos)
        node.at("name").fail("a device name has no spaces");
    return device;
}

paper_size read_paper(const profile_node &node)
{
    node.expect_keys({"width", "height", "original"});
    const paper_size paper{node.at("width").number(), node.at("height").number(), node.boolean_or("original", false)};
    const bool is_a_sheet =
        paper.width_mm >= 10 && paper.width_mm <= 1000 && paper.height_mm >= 10 && paper.height_mm <= 1000;
    if (!is_a_sheet)
        node.fail("a sheet measures 10 to 1000 mm each way");
    return paper;
}

information_value read_information(const std::string &name, const profile_node &node)
{
    node.expect_keys({"value", "writable"});
    const information_item *known = find_information_item(std::string_view(name));
    if (known == nullptr)
        node.fail("no such information item");
    const bool writable = node.boolean_or("writable", false);
    const profile_node value = node.at("value");
    if (is_number(*known))
        return {static_cast<long long>(known->length == 1 ? value.integer(0, 255) : value.integer()), writable};
    std::string text = value.text();
    if (text.size() >= static_cast<std::size_t>(known->length))
        value.fail("the text is too long for its item");
    return {std::move(text), writable};
}

void check_papers(const profile &result, const profile_node &options)
{
    for (std::size_t i = 0; i < result.options.size(); ++i) {
        if (result.options[i].role != option_role::paper)
            continue;
        for (const option_value &value : result.options[i].values)
            if (result.papers.count(std::get<text_value>(value)) == 0)
                options.at(i).at("range").fail("no size is given for the paper \"" + std::get<text_value>(value) +
                                               "\"");
    }
}

profile read_profile(const profile_node &root)
{
    profile result;
    root.expect_keys({"$schema", "device", "access", "pages_per_minute", "feeder", "flatbed", "faults", "pages",
                      "papers", "information", "options"});
    if (root.has("$schema"))
        root.at("$schema").text(); // for editors
    result.device = read_device(root.at("device"));
    read_behaviour(result, root);
    if (root.has("faults"))
        result.faults = read_faults(root.at("faults"));
    if (root.has("pages"))
        result.pages = read_page_wear(root.at("pages"));
    root.at("papers").each_member(
        [&](const std::string &name, const profile_node &node) { result.papers[name] = read_paper(node); });
    root.at("information").each_member([&](const std::string &name, const profile_node &node) {
        result.information[name] = read_information(name, node);
    });
    result.options = read_options(root.at("options"));
    check_papers(result, root.at("options"));
    return result;
}

// A relative name starts where the profile is.
void resolve_folder(std::string &folder, const std::string &file)
{
    if (!folder.empty())
        folder = std::filesystem::path(file).parent_path() / folder;
}

struct file_closer {
    void operator()(std::FILE *file) const { std::fclose(file); }
};

} // namespace

profile parse_profile(std::string_view text, const std::string &file)
{
    expect_spare_memory(text.size() * memory_of_a_byte); // JSON that ends takes memory, and then could not fail
    try {
        const json document = parse_json(text);
        profile result = read_profile({document, ""});
        resolve_folder(result.feeder.source.folder, file);
        resolve_folder(result.glass.folder, file);
        return result;
    } catch (const json::exception &error) {
        throw profile_error(file + ": " + error.what());
    } catch (const profile_error &error) {
        throw profile_error(file + ": " + error.what());
    }
}

// With stdio, which unlike a stream tells why a read failed. A pipe would wait for its writer, a device never end.
std::string read_profile_file(const std::string &path)
{
    std::error_code unknown;
    if (std::filesystem::exists(path, unknown) && !std::filesystem::is_regular_file(path, unknown))
        throw profile_error(path + ": cannot be read: it is no regular file");
    const std::unique_ptr<std::FILE, file_closer> file(std::fopen(path.c_str(), "rbe"));
    std::string text;
    std::array<char, 4096> piece;
    for (std::size_t size = 1; file != nullptr && size > 0 && text.size() <= largest_file;) {
        size = std::fread(piece.data(), 1, piece.size(), file.get());
        text.append(piece.data(), size);
    }
    const bool is_read = file != nullptr && std::ferror(file.get()) == 0;
    if (!is_read && errno == ENOMEM)
        throw std::bad_alloc();
    if (!is_read)
        throw profile_error(path + ": cannot be read: " + std::generic_category().message(errno));
    if (text.size() > largest_file)
        throw profile_error(path + ": cannot be read: it has more than 16 MiB");
    return text;
}

} // namespace virtual_scanner
