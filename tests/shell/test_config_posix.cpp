#include "base/report.h"
#include "base/wholefile.h"
#include "gfx/gfx_opengl.h"
#include "shell/config.h"
#include "tests/ordinaryuser.h"
#include "tests/tempfolder.h"

#include <climits>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <sys/stat.h>
#include <vector>

static const std::string resolution =
    "Resolution (XxY, 'auto', 'span', 'windowed', 'display N' or 'span N,M...')";
static const std::string stereo_mode =
    "Stereo mode (0=none,1=top/bottom,2=side-by-side,3=interlace,4=two screen SBS,5=two screen "
    "vertical,6-8=coloured)";

static std::vector<std::string> notices; // written by keep

static void keep(ReportRec* rec)
{
    notices.push_back(rec->message);
}

// A list that is read from a text.
struct Config {
    TempFolder folder;
    ConfigList list;

    explicit Config(const std::string& text)
    {
        write_text(path(), text);
        config_load(&list, path().c_str(), ':');
    }
    ~Config()
    {
        config_free(&list);
    }
    Config(const Config&) = delete;
    Config& operator=(const Config&) = delete;

    std::string path() const
    {
        return folder.file("config.txt");
    }
    std::string get(const char* name) const
    {
        const char* const value = config_get(&list, name, nullptr);
        return value != nullptr ? value : "(none)";
    }
    // The text that a write leaves.
    std::string saved() const
    {
        char why[WHOLEFILE_WHY];
        EXPECT_TRUE(config_save(&list, path().c_str(), ':', why)) << why;
        EXPECT_STREQ(why, "");
        return read_text(path());
    }
};

static bool is_true(const std::string& text)
{
    const Config config(text);
    return config_get_bool(&config.list, "Windowed");
}

static std::string rewritten(const std::string& text)
{
    return Config(text).saved();
}

TEST(config_load, of_a_missing_file_gives_an_empty_list)
{
    const TempFolder folder;
    ConfigList list;
    config_load(&list, folder.file("config.txt").c_str(), ':');
    EXPECT_EQ(list.entries.count, 0U);
    EXPECT_STREQ(config_get(&list, "Windowed", "fallback"), "fallback");
    config_free(&list);
}

TEST(config_load, ends_lines_at_lf_cr_crlf_and_nul)
{
    const std::string ends("a: 1\nb: 2\rc: 3\r\nd: 4\0e: 5", 25);
    EXPECT_EQ(rewritten(ends), "a: 1\nb: 2\nc: 3\nd: 4\ne: 5\n");
}

TEST(config_load, takes_a_last_line_without_an_end)
{
    EXPECT_EQ(rewritten("a: 1\nb: 2"), "a: 1\nb: 2\n");
}

TEST(config_load, drops_lines_without_the_separator)
{
    EXPECT_EQ(rewritten("# a remark\n\na: 1\nplain words\n   \nb: 2\n"), "a: 1\nb: 2\n");
}

TEST(config_load, splits_at_the_first_separator_only)
{
    const Config config("address: 10:20:30\n");
    EXPECT_EQ(config.get("address"), "10:20:30");
    EXPECT_EQ(config.saved(), "address: 10:20:30\n");
}

TEST(config_load, trims_white_space_around_key_and_value)
{
    EXPECT_EQ(rewritten(" \t a key \v\f:\t  a  value \t\n"), "a key: a  value\n");
}

TEST(config_load, keeps_an_empty_value_as_an_empty_text)
{
    const Config config("empty:\nblank:   \n");
    EXPECT_EQ(config.get("empty"), "");
    EXPECT_EQ(config.get("blank"), "");
    EXPECT_EQ(config.saved(), "empty: \nblank: \n");
}

TEST(config_load, keeps_an_empty_key)
{
    EXPECT_EQ(rewritten(": value\n:\n"), ": value\n: \n");
}

TEST(config_load, keeps_duplicates_in_their_order)
{
    EXPECT_EQ(rewritten("b: 1\na: 2\nb: 3\n"), "b: 1\na: 2\nb: 3\n");
}

TEST(config_load, takes_another_separator)
{
    const TempFolder folder;
    write_text(folder.file("other"), "a = b: c\nd: e\n");
    ConfigList list;
    char why[WHOLEFILE_WHY];
    config_load(&list, folder.file("other").c_str(), '=');
    EXPECT_STREQ(config_get(&list, "a", ""), "b: c");
    EXPECT_TRUE(config_save(&list, folder.file("other").c_str(), '=', why));
    EXPECT_EQ(read_text(folder.file("other")), "a= b: c\n");
    config_free(&list);
}

TEST(config_load, takes_a_huge_line)
{
    const std::string key(250000, 'k');
    const std::string value(500000, 'v');
    const std::string text = key + ": " + value + "\n" + std::string(200000, 'x') + "\n";
    EXPECT_TRUE(rewritten(text) == key + ": " + value + "\n");
}

TEST(config_load, takes_very_many_lines)
{
    std::string text;
    for (i32 i = 0; i < 50000; i++) {
        text += "key " + std::to_string(i) + ": " + std::to_string(i) + "\n";
    }
    EXPECT_TRUE(rewritten(text) == text);
}

TEST(config_load, takes_any_bytes)
{
    std::mt19937 source(3);
    for (i32 i = 0; i < 60; i++) {
        std::string junk;
        for (i32 k = 0; k < 2000; k++) {
            const u32 draw = source();
            junk += draw % 8 == 0 ? ":\n\r \0Rs"[draw / 8 % 7] : static_cast<char>(draw / 8);
        }
        Config config(junk);
        i32 mode;
        i32 swap;
        config_read_display_and_stereo(&config.list, &mode, &swap);
        config_set_bool(&config.list, "Swap stereo", 1);
        const std::string once = config.saved();
        EXPECT_EQ(rewritten(once), once); // what is written is read back as it was
    }
}

static void expect_left_alone(const std::string& path)
{
    ConfigList list;
    void (*const handler)(ReportRec*) = report_handler;
    const i32 to_file = warnings_to_file;
    report_handler = keep;
    warnings_to_file = 0;
    notices.clear();
    config_load(&list, path.c_str(), ':');
    report_handler = handler;
    warnings_to_file = to_file;
    ASSERT_EQ(notices.size(), 1U);
    EXPECT_NE(notices[0].find(path), std::string::npos) << notices[0];
    EXPECT_EQ(list.entries.count, 0U);
    char why[WHOLEFILE_WHY] = "";
    config_default(&list, "a", "1");
    EXPECT_FALSE(config_save(&list, path.c_str(), ':', why));
    EXPECT_NE(std::string(why).find(path), std::string::npos) << why;
    config_free(&list);
}

TEST(config_load, tells_of_a_folder_in_the_place_of_the_file_and_leaves_it)
{
    const TempFolder folder;
    std::filesystem::create_directory(folder.file("config.txt"));
    expect_left_alone(folder.file("config.txt"));
    EXPECT_TRUE(std::filesystem::is_directory(folder.file("config.txt")));
}

TEST(config_load, tells_of_a_file_that_is_too_large_and_leaves_it)
{
    const TempFolder folder;
    const std::string path = folder.file("config.txt");
    write_text(path, "Windowed: n\n");
    std::filesystem::resize_file(path, CONFIG_MAXBYTES + 1);
    expect_left_alone(path);
    EXPECT_EQ(std::filesystem::file_size(path), size_t{CONFIG_MAXBYTES} + 1);
}

TEST(config_load, reads_a_file_of_the_largest_size)
{
    const TempFolder folder;
    const std::string path = folder.file("config.txt");
    write_text(path, "Windowed: n\n");
    std::filesystem::resize_file(path, CONFIG_MAXBYTES);
    ConfigList list;
    config_load(&list, path.c_str(), ':');
    EXPECT_FALSE(list.unreadable);
    EXPECT_STREQ(config_get(&list, "Windowed", ""), "n");
    config_free(&list);
}

TEST(config_load, tells_of_a_device_and_a_pipe_and_does_not_wait_for_them)
{
    const TempFolder folder;
    std::filesystem::create_symlink("/dev/zero", folder.file("config.txt"));
    expect_left_alone(folder.file("config.txt"));
    ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0666), 0);
    expect_left_alone(folder.file("pipe"));
    EXPECT_EQ(std::filesystem::read_symlink(folder.file("config.txt")), "/dev/zero");
}

TEST(config_load, tells_of_a_link_that_leads_nowhere_and_leaves_it)
{
    const TempFolder folder;
    std::filesystem::create_symlink(folder.file("gone"), folder.file("config.txt"));
    expect_left_alone(folder.file("config.txt"));
    EXPECT_EQ(folder.names(), std::vector<std::string>{"config.txt"});
}

TEST(config_load, tells_of_a_file_without_read_permission_and_leaves_it)
{
    const OpenFolder folder;
    const std::string path = folder.file("config.txt");
    write_text(path, "Windowed: n\n");
    ASSERT_EQ(chmod(path.c_str(), 0222), 0);
    {
        const OrdinaryUser user;
        expect_left_alone(path);
    }
    ASSERT_EQ(chmod(path.c_str(), 0666), 0);
    EXPECT_EQ(read_text(path), "Windowed: n\n");
}

// Each line gets a blank, which makes the file larger than may be read.
TEST(config_save, writes_no_file_that_could_not_be_read)
{
    const TempFolder folder;
    const std::string path = folder.file("config.txt");
    std::string text;
    for (i32 i = 0; i < CONFIG_MAXBYTES / 3; i++) {
        text += "a:\n";
    }
    write_text(path, text);
    ConfigList list;
    config_load(&list, path.c_str(), ':');
    EXPECT_FALSE(list.unreadable);
    char why[WHOLEFILE_WHY] = "";
    EXPECT_FALSE(config_save(&list, path.c_str(), ':', why));
    EXPECT_EQ(why, "There are more settings than " + path + " may hold");
    config_free(&list);
    EXPECT_TRUE(read_text(path) == text);
}

TEST(config_save, tells_of_a_write_protected_file_and_leaves_it)
{
    const OpenFolder folder;
    const std::string path = folder.file("config.txt");
    write_text(path, "Windowed: n\n");
    ASSERT_EQ(chmod(path.c_str(), 0444), 0);
    const OrdinaryUser user;
    ConfigList list;
    config_load(&list, path.c_str(), ':');
    EXPECT_STREQ(config_get(&list, "Windowed", ""), "n");
    config_set(&list, "Windowed", "y");
    char why[WHOLEFILE_WHY] = "";
    EXPECT_FALSE(config_save(&list, path.c_str(), ':', why));
    EXPECT_NE(std::string(why).find(path), std::string::npos) << why;
    config_free(&list);
    EXPECT_EQ(read_text(path), "Windowed: n\n");
}

TEST(config_get, finds_the_long_key_by_its_short_word)
{
    const Config config(stereo_mode + ": 6\n");
    EXPECT_EQ(config.get("Stereo mode"), "6");
}

TEST(config_get, folds_the_letters_from_A_to_Z_only)
{
    const Config config("WINDOWED: y\n\xC4ther: z\n");
    EXPECT_EQ(config.get("windowed"), "y");
    EXPECT_EQ(config.get("\xC4THER"), "z");
    EXPECT_EQ(config.get("\xE4ther"), "(none)");
}

TEST(config_get, takes_the_whole_name_for_a_prefix)
{
    const Config config("Wind: 1\n");
    EXPECT_EQ(config.get("Windowed"), "(none)");
    EXPECT_EQ(config.get("ind"), "(none)");
}

TEST(config_get, prefers_the_shortest_key)
{
    const Config config("Windowed: 1\nWindowed (Y/N): 2\nWindowed mode: 3\n");
    EXPECT_EQ(config.get("Windowed"), "1");
    EXPECT_EQ(config.get("Windowed "), "3");
}

TEST(config_get, prefers_the_last_of_keys_of_one_length)
{
    const Config config("key b: 1\nkey a: 2\nkey longer: 3\n");
    EXPECT_EQ(config.get("key"), "2");
}

TEST(config_get, gives_the_fallback_if_nothing_matches)
{
    const Config config("a: 1\n");
    EXPECT_STREQ(config_get(&config.list, "b", "other"), "other");
    EXPECT_EQ(config_get(&config.list, "b", nullptr), nullptr);
}

TEST(config_get, gives_the_fallback_for_a_null_value)
{
    Config config("key long: 1\n");
    config_default(&config.list, "key", nullptr);
    EXPECT_STREQ(config_get(&config.list, "key", "fallback"), "fallback");
}

TEST(config_get_bool, takes_t_y_and_1_for_true)
{
    for (const char* value : {"t", "T", "y", "Y", "1", "true", "Yes", "10"}) {
        EXPECT_TRUE(is_true("Windowed: " + std::string(value))) << value;
    }
}

TEST(config_get_bool, takes_all_else_for_false)
{
    for (const char* value : {"n", "N", "f", "0", "2", "on", "", "-1"}) {
        EXPECT_FALSE(is_true("Windowed: " + std::string(value))) << value;
    }
}

TEST(config_get_bool, of_an_absent_key_is_false)
{
    EXPECT_FALSE(is_true("other: Y"));
}

TEST(config_default, adds_a_missing_key_at_the_end)
{
    Config config("a: 1\n");
    config_default(&config.list, "Windowed (Y/N)", "Y");
    EXPECT_EQ(config.saved(), "a: 1\nWindowed (Y/N): Y\n");
}

TEST(config_default, leaves_a_key_that_is_there_in_any_case)
{
    Config config("WINDOWED (y/n): N\n");
    config_default(&config.list, "Windowed (Y/N)", "Y");
    EXPECT_EQ(config.saved(), "WINDOWED (y/n): N\n");
}

TEST(config_default, is_not_stopped_by_a_shorter_or_a_longer_key)
{
    Config config("Windowed: n\nWindowed (Y/N) or so: n\n");
    config_default(&config.list, "Windowed (Y/N)", "Y");
    EXPECT_EQ(config.saved(), "Windowed: n\nWindowed (Y/N) or so: n\nWindowed (Y/N): Y\n");
}

TEST(config_set, replaces_the_last_match_and_not_the_shortest)
{
    Config config("key: 1\nkey long: 2\nother: 3\n");
    config_set(&config.list, "KEY", "9");
    EXPECT_EQ(config.saved(), "key: 1\nkey long: 9\nother: 3\n");
}

TEST(config_set, adds_the_short_name_if_nothing_matches)
{
    Config config("key: 1\n");
    config_set(&config.list, "keys", "9");
    EXPECT_EQ(config.saved(), "key: 1\nkeys: 9\n");
}

TEST(config_set, takes_the_value_that_it_replaces)
{
    Config config("key: some value\n");
    config_set(&config.list, "key", config_get(&config.list, "key", ""));
    EXPECT_EQ(config.get("key"), "some value");
}

TEST(config_set_bool, sets_the_documented_key)
{
    Config config("Swap stereo (Y/N): N\n");
    config_set_bool(&config.list, "Swap stereo", 1);
    EXPECT_EQ(config.get("Swap stereo"), "Y");
    config_set_bool(&config.list, "Swap stereo", 0);
    EXPECT_EQ(config.saved(), "Swap stereo (Y/N): N\n");
}

TEST(config_set_bool, adds_the_documented_key_beside_a_short_one)
{
    Config config("Swap stereo: N\n");
    config_set_bool(&config.list, "Swap stereo", -5);
    EXPECT_EQ(config.saved(), "Swap stereo: N\nSwap stereo (Y/N): Y\n");
}

TEST(config_save, writes_key_separator_blank_and_value)
{
    EXPECT_EQ(rewritten("a   :1\nb:   2\nc:3:4\n"), "a: 1\nb: 2\nc: 3:4\n");
}

TEST(config_save, writes_a_null_value_as_nothing)
{
    Config config("");
    config_default(&config.list, "key", nullptr);
    EXPECT_EQ(config.saved(), "key: \n");
}

TEST(config_save, tells_why_it_failed)
{
    const Config config("a: 1\n");
    char why[WHOLEFILE_WHY] = "";
    EXPECT_FALSE(
        config_save(&config.list, config.folder.file("nowhere/config.txt").c_str(), ':', why));
    EXPECT_NE(std::string(why).find("nowhere"), std::string::npos) << why;
    EXPECT_EQ(read_text(config.path()), "a: 1\n");
}

// What the settings ask of the window.
struct Request {
    i32 width, height;
    bool windowed;
    i32 x, y;
    i32 mode, swap;
};

static Request request_of(Config* config, bool windowed_before = false)
{
    gfx_width = 0;
    gfx_height = 0;
    windowed = windowed_before;
    fullscreen_x = 0;
    fullscreen_y = 0;
    Request request = {};
    config_read_display_and_stereo(&config->list, &request.mode, &request.swap);
    request.width = gfx_width;
    request.height = gfx_height;
    request.windowed = windowed;
    request.x = fullscreen_x;
    request.y = fullscreen_y;
    return request;
}

static Request request_of(const std::string& text)
{
    Config config(text);
    return request_of(&config);
}

static void expect_size(const std::string& value, i32 width, i32 height)
{
    const Request request = request_of("Resolution: " + value + "\n");
    EXPECT_EQ(request.width, width) << value;
    EXPECT_EQ(request.height, height) << value;
    EXPECT_FALSE(request.windowed) << value;
}

TEST(config_read_display_and_stereo, adds_what_is_missing)
{
    Config config("");
    const Request request = request_of(&config);
    EXPECT_EQ(request.mode, 0);
    EXPECT_EQ(request.swap, 0);
    EXPECT_EQ(config.saved(),
              resolution + ": auto\n" + stereo_mode + ": 0\nSwap stereo (Y/N): N\n");
}

TEST(config_read_display_and_stereo, with_the_driver_s_keys_makes_the_whole_first_file)
{
    Config config("");
    config_default(&config.list, "Windowed (Y/N)", "Y");
    request_of(&config);
    config_default(&config.list, "Stereo Depth", "0.05");
    EXPECT_EQ(config.saved(), "Windowed (Y/N): Y\n" + resolution + ": auto\n" + stereo_mode +
                                  ": 0\nSwap stereo (Y/N): N\nStereo Depth: 0.05\n");
}

TEST(config_read_display_and_stereo, does_not_add_a_resolution_beside_a_short_key)
{
    Config config("Resolution: 640x480\n");
    request_of(&config);
    EXPECT_EQ(config.saved(),
              "Resolution: 640x480\n" + stereo_mode + ": 0\nSwap stereo (Y/N): N\n");
}

TEST(config_resolution, auto_is_the_primary_display)
{
    expect_size("auto", 0, 0);
    expect_size("AUTO", 0, 0);
}

TEST(config_resolution, display_is_a_number_of_a_display)
{
    expect_size("display 2", 0, 2);
    expect_size("Display3", 0, 3);
    expect_size("DISPLAY   12th", 0, 12);
}

TEST(config_resolution, display_0_is_the_primary_display)
{
    expect_size("display 0", 0, 0);
    expect_size("display", 0, 0);
    expect_size("display two", 0, 0);
}

TEST(config_resolution, span_alone_is_all_displays)
{
    expect_size("span", -1, -1);
    expect_size("Span", -1, -1);
}

TEST(config_resolution, span_with_numbers_is_a_mask)
{
    expect_size("SPAN 1,3", -1, 5);
    expect_size("span 1", -1, 1);
    expect_size("span2;4 and 2", -1, 10);
}

TEST(config_resolution, span_takes_a_display_modulo_32)
{
    expect_size("span 33", -1, 1);
    expect_size("span 32", -1, INT_MIN);
    expect_size("span 0", -1, INT_MIN);
}

TEST(config_resolution, span_passes_over_fractions_and_exponents)
{
    expect_size("span 1.3 2", -1, 3);
    expect_size("span 1e3,2", -1, 3);
    expect_size("span 1.5E+3,2", -1, 3);
    expect_size("span 2.", -1, 2);
    expect_size("span 1e,2", -1, 3);
    expect_size("span 1e+", -1, 1);
}

TEST(config_resolution, span_takes_a_sign_for_a_separator)
{
    expect_size("span -3", -1, 4);
    expect_size("span 1-3", -1, 5);
}

TEST(config_resolution, span_without_a_digit_is_an_empty_mask)
{
    expect_size("span all", -1, 0);
}

TEST(config_resolution, windowed_forces_a_window)
{
    const Request request = request_of("Resolution: Windowed\n");
    EXPECT_TRUE(request.windowed);
    EXPECT_EQ(request.width, 0);
    EXPECT_EQ(request.height, 0);
}

TEST(config_resolution, leaves_windowed_as_it_is_otherwise)
{
    Config config("Resolution: 640x480\n");
    EXPECT_TRUE(request_of(&config, true).windowed);
}

TEST(config_resolution, is_width_x_height)
{
    expect_size("640x480", 640, 480);
    expect_size("640X480", 640, 480);
    expect_size("640x  480 pixels", 640, 480);
    expect_size("-1x+7", -1, 7);
}

TEST(config_resolution, leaves_what_it_cannot_read)
{
    expect_size("640x", 640, 0);
    expect_size("640", 640, 0);
    expect_size("640 x 480", 640, 0);
    expect_size("640 480", 640, 0);
    expect_size("x480", 0, 0);
    expect_size("large", 0, 0);
    expect_size("", 0, 0);
    expect_size("-x-", 0, 0);
}

TEST(config_resolution, holds_a_number_that_is_too_great_at_an_end)
{
    expect_size("99999999999x99999999999999999999999999", 1000000000, 1000000000);
    expect_size("-2147483648x-99999999999999999999999999", -1000000000, -1000000000);
    expect_size("display 99999999999", 0, INT_MAX);
    expect_size("span 2147483648", -1, 1 << 30); // held at 2147483647, the 31st modulo 32
}

TEST(config_offset, is_read_and_never_created)
{
    Config config("Fullscreen offset: -20,30\n");
    const Request request = request_of(&config);
    EXPECT_EQ(request.x, -20);
    EXPECT_EQ(request.y, 30);
    Config without("");
    request_of(&without);
    EXPECT_EQ(without.saved().find("Fullscreen"), std::string::npos);
}

TEST(config_offset, leaves_what_it_cannot_read)
{
    for (const char* value : {"", "none", ",5"}) {
        const Request request = request_of("Fullscreen offset: " + std::string(value) + "\n");
        EXPECT_EQ(request.x, 0);
        EXPECT_EQ(request.y, 0);
    }
    const Request request = request_of("Fullscreen offset: 7 ,5\n");
    EXPECT_EQ(request.x, 7);
    EXPECT_EQ(request.y, 0);
}

TEST(config_offset, holds_a_number_that_is_too_great_at_an_end)
{
    const Request request = request_of("Fullscreen offset: 2147483647,-99999999999\n");
    EXPECT_EQ(request.x, 1000000000);
    EXPECT_EQ(request.y, -1000000000);
}

TEST(config_stereo, reads_mode_and_swap)
{
    const Request request = request_of("Stereo mode: 3\nSwap stereo: yes\n");
    EXPECT_EQ(request.mode, 3);
    EXPECT_EQ(request.swap, 1);
}

TEST(config_stereo, takes_a_mode_that_is_no_number_for_0)
{
    EXPECT_EQ(request_of("Stereo mode: interlace\n").mode, 0);
    EXPECT_EQ(request_of("Stereo mode:\n").mode, 0);
    EXPECT_EQ(request_of("Stereo mode: 99999999999999999999\n").mode, INT_MAX);
}

TEST(config_stereo, a_short_key_is_read_and_the_long_one_is_changed)
{
    Config config("Stereo mode: 3\n");
    EXPECT_EQ(request_of(&config).mode, 3);
    EXPECT_EQ(config.saved(), "Stereo mode: 3\n" + resolution + ": auto\n" + stereo_mode +
                                  ": 0\nSwap stereo (Y/N): N\n");
    config_set(&config.list, "Stereo mode", "5");
    EXPECT_EQ(config.saved(), "Stereo mode: 3\n" + resolution + ": auto\n" + stereo_mode +
                                  ": 5\nSwap stereo (Y/N): N\n");
    EXPECT_EQ(request_of(&config).mode, 3);
}
