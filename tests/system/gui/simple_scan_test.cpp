// SPDX-License-Identifier: MIT
// A desktop application: simple-scan on a virtual screen, worked by its keys. Its log tells what SANE answered, and the
// screen shows the pages.
#include "image.h"
#include "scanimage.h"

#include <gtest/gtest.h>

namespace system_test {

class simple_scan : public scanimage {
protected:
    simple_scan()
    {
        set_variable("PELLANG", "en");
        set_variable("GSETTINGS_BACKEND", "memory");
        set_variable("NO_AT_BRIDGE", "1");
        set_variable("XDG_RUNTIME_DIR", path(""));
    }

    // Presses the key and waits until the log says so.
    void scan_with(const std::string &key, const std::string &end)
    {
        const outcome result = run_command({"timeout", "120", "dbus-run-session", "--", "xvfb-run", "-a", "-s",
                                            "-screen 0 1000x800x24", PELSANE_GUI_SCRIPT, path(""), key, end});
        EXPECT_EQ(0, result.status) << result.messages;
        log_ = read_file(path("log"));
        screen_ = read_image(path("screen.png"));
        ASSERT_NE(nullptr, screen_) << log_;
    }

    [[nodiscard]] const std::string &log() const { return log_; }

    [[nodiscard]] int points_of(const rgb &color) const
    {
        int count = 0;
        for (l_int32 y = 0; y < pixGetHeight(screen_.get()); ++y)
            for (l_int32 x = 0; x < pixGetWidth(screen_.get()); ++x) {
                rgb point{};
                pixGetRGBPixel(screen_.get(), x, y, &point.red, &point.green, &point.blue);
                count += point == color ? 1 : 0;
            }
        return count;
    }

    // The document has a bar of pure colours, much text, and is white otherwise.
    void expect_the_document_on_the_screen() const
    {
        for (const rgb &color :
             {rgb{255, 0, 0}, rgb{0, 255, 0}, rgb{0, 0, 255}, rgb{255, 255, 0}, rgb{0, 255, 255}, rgb{255, 0, 255}})
            EXPECT_GT(points_of(color), 200) << color;
        EXPECT_GT(points_of(white), 50000);
        EXPECT_GT(points_of(black), 1000);
    }

private:
    std::string log_;
    pix_ptr screen_;
};

TEST_F(simple_scan, scans_a_page)
{
    scan_with("ctrl+1", "sane_cancel ()");
    EXPECT_TRUE(contains(log(), "Device: name=\"pelsane:virtual:duplex-feeder\" vendor=\"Pelsane\"")) << log();
    EXPECT_TRUE(contains(log(), "sane_start (page=0, pass=0) -> SANE_STATUS_GOOD"));
    EXPECT_TRUE(contains(log(), "format=SANE_FRAME_RGB last_frame=SANE_TRUE"));
    EXPECT_EQ(1, occurrences(log(), "sane_start ("));
    EXPECT_EQ(1, occurrences(log(), "-> (SANE_STATUS_EOF, 0)"));
    expect_the_document_on_the_screen();
}

TEST_F(simple_scan, scans_all_that_lies_in_the_feeder)
{
    scan_with("ctrl+f", "SANE_STATUS_NO_DOCS");
    for (const char *page : {"0", "1", "2", "3", "4", "5"})
        EXPECT_EQ(1, occurrences(log(), std::string("sane_start (page=") + page + ", pass=0) -> SANE_STATUS_GOOD"));
    EXPECT_TRUE(contains(log(), "sane_start (page=6, pass=0) -> SANE_STATUS_NO_DOCS"));
    EXPECT_EQ(6, occurrences(log(), "-> (SANE_STATUS_EOF, 0)"));
    expect_the_document_on_the_screen();
}

TEST_F(simple_scan, finds_the_options_that_it_knows)
{
    scan_with("ctrl+1", "sane_cancel ()");
    EXPECT_TRUE(contains(log(), "duplex=SANE_TRUE) -> (SANE_STATUS_GOOD, SANE_TRUE)"));
    EXPECT_TRUE(contains(log(), "resolution=300) -> (SANE_STATUS_GOOD, 300)"));
    EXPECT_TRUE(contains(log(), "mode=\"Color\") -> (SANE_STATUS_GOOD, \"Color\")"));
    EXPECT_TRUE(contains(log(), "Option 76: name='page-width' title='Page Width' type=int size=4 unit=mm"));
    EXPECT_FALSE(contains(log(), "SANE_STATUS_INVAL"));
}

} // namespace system_test
