// SPDX-License-Identifier: MIT
// Page sizes and sides are set in any order, on driver options of any size, in two languages, with a driver that may
// adjust the text. The paper that the driver is told has to be the nearest of the table, in arithmetic that cannot
// overflow, and the length has to be that of the block.
#include "input.h"
#include "kx_scanner.h"
#include "langkit.h"
#include "option_key.h"
#include "oracle.h"
#include "platform.h"
#include "sane_kx_mdw.h"

#include <sane/sane.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

namespace {

__extension__ using wide = __int128; // no 32-bit size overflows it

struct paper {
    const char *name;
    int width;
    int height;
};

constexpr paper papers[] = {
    {"A3", 297, 420}, {"8开", 297, 420},    {"A4横向", 297, 210}, {"B4", 257, 364}, {"B5横向", 250, 176},
    {"A4", 210, 297}, {"16开", 210, 285},   {"A5横向", 210, 148}, {"B5", 176, 250}, {"B6横向", 176, 125},
    {"A5", 148, 210}, {"A6横向", 148, 105}, {"B6", 125, 176},     {"A6", 105, 148},
};

constexpr int paper_number = 7; // of the driver's options
constexpr int page_number = 3;
constexpr int base_number = 40; // of the first well-known option

std::string translated(const char *word)
{
    const char *text = from_default_language(word, nullptr);
    return text != nullptr ? text : word;
}

std::string nearest_paper(int width, int height)
{
    const char *name = "匹配原始尺寸";
    wide nearest = 41600;
    for (const paper &row : papers) {
        const wide across = wide{width} - row.width;
        const wide down = wide{height} - row.height;
        if (across * across + down * down < nearest) {
            nearest = across * across + down * down;
            name = row.name;
        }
    }
    return translated(name);
}

// The mapper of a device whose driver has "paper" and "page", and what it has been told.
class mapper_under_test {
public:
    mapper_under_test(int paper_size, int page_size)
        : paper_(described("paper", paper_size)), page_(described("page", page_size))
    {
    }

    void offer(bool paper)
    {
        mapper_.init_known_opt(paper ? paper_number : page_number, paper ? paper_.get() : page_.get());
        for (int number = base_number; number < base_number + 3; ++number)
            if (const auto *descriptor = mapper_.get_option(number))
                require_sound(*descriptor);
    }

    void forget() { mapper_.clear(); }

    void set(int number, SANE_Word word)
    {
        const auto *const known = mapper_.get_option(number);
        if (known == nullptr) {
            require(mapper_.set_value(nullptr, number, &word) == SCANNER_ERR_INVALID_PARAMETER, "there is no option");
            return;
        }
        const std::string name = known->name;
        const SANE_Word wanted = word;
        if (name != "duplex")
            (name == "page-width" ? width_ : height_) = wanted;
        const std::string expected =
            name == "duplex" ? translated(wanted == 1 ? "双面" : "单面") : nearest_paper(width_, height_);
        require(mapper_.set_value(handle_, number, &word) == platform::the_script().write_code,
                "the code is the driver's");
        require_written(name == "duplex", expected);
        const bool may_adjust = name == "duplex" && platform::the_script().write_code == SCANNER_ERR_NOT_EXACT;
        require(may_adjust ? word == 0 || word == 1 : word == wanted, "only an adjusted side changes the value");
    }

    void read(int number)
    {
        const auto value = mapper_.get_default_value(handle_, number);
        require((value != nullptr) == (mapper_.get_option(number) != nullptr), "each has a default");
        SANE_Word word = 77;
        require(mapper_.get_value(handle_, number, &word) == SCANNER_ERR_INVALID_PARAMETER,
                "a read says always the same");
        const auto *const known = mapper_.get_option(number);
        require(word == 77 || (known != nullptr && std::string(known->name) == "duplex" && (word == 0 || word == 1)),
                "a page size is not read");
    }

    void open()
    {
        void *handle = nullptr;
        require(backend().open_device("fuzzed", &handle) == SANE_STATUS_GOOD, "the device opens");
        handle_ = backend().sane_handle_to_scanner(handle);
    }

    void close() { backend().close_device(backend().scanner_handle_to_sane(handle_)); }

private:
    static kx_sane_middleware &backend() { return *kx_sane_middleware::instance(); }

    static descriptor_ptr described(const char *name, int size)
    {
        auto descriptor = kx_sane_middleware::allocate_descriptor(name, "", "");
        descriptor->type = SANE_TYPE_STRING;
        descriptor->size = size;
        return descriptor;
    }

    void require_written(bool page, const std::string &expected)
    {
        const platform::script &driver = platform::the_script();
        const int number = page ? page_number : paper_number;
        const auto size = static_cast<std::size_t>(std::max((page ? page_ : paper_)->size, 0));
        const std::size_t length = expected.size() > size ? expected.size() + 1 : size;
        require(driver.written_option == option_key::from_number(number), "the option behind it is written");
        require(driver.written == expected, "the driver is told the nearest paper, or the sides");
        require(driver.written_length == static_cast<long>(length), "and the room that the text has");
    }

    descriptor_ptr paper_;
    descriptor_ptr page_;
    sane_std_opts mapper_{base_number};
    void *handle_ = nullptr;
    int width_ = 0;
    int height_ = 0;
};

// A millimetre more or less matters near a paper only: half of the numbers are.
SANE_Word size_in_mm(input &bytes)
{
    const unsigned int kind = bytes.byte();
    return kind < 128 ? static_cast<SANE_Word>(bytes.number<std::uint16_t>() % 700) : bytes.number<SANE_Word>();
}

void step(input &bytes, mapper_under_test &mapper)
{
    static constexpr int codes[] = {SCANNER_ERR_OK, SCANNER_ERR_NOT_EXACT, SCANNER_ERR_CONFIGURATION_CHANGED,
                                    SCANNER_ERR_ACCESS_DENIED};
    const unsigned int kind = bytes.byte();
    const int number = base_number + static_cast<int>(kind / 16 % 4);
    switch (kind % 8) {
    case 0:
        mapper.offer(kind >= 128);
        break;
    case 1:
        mapper.read(number);
        break;
    case 2:
        platform::the_script().write_code = bytes.pick(codes);
        platform::the_script().rewritten = bytes.line();
        break;
    case 3:
        platform::change_language();
        break;
    case 4:
        mapper.forget();
        break;
    default:
        mapper.set(number, size_in_mm(bytes));
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    constexpr int most_steps = 100;
    input bytes(data, size);
    platform::script &driver = platform::reset();
    mapper_under_test mapper(bytes.number<std::int8_t>(), bytes.number<std::int8_t>());
    driver.options = {"", "", R"("page":{"type":"string","size":20,"cur":"双面"})", "", "", "", bytes.line()};
    mapper.open();
    mapper.offer(true);
    mapper.offer(false);
    for (int i = 0; i < most_steps && !bytes.is_used_up(); ++i)
        step(bytes, mapper);
    mapper.close();
    return 0;
}
