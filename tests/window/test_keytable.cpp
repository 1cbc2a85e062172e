// Every row of the key table with real key events, on five keyboard layouts: what the picture, the save
// and the settings tell of it.
#include "tests/window/basemaze.h"
#include "tests/window/islands.h"
#include "tests/window/keytable.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

class Key_table : public WindowTest, public testing::WithParamInterface<const char*>
{
  protected:
    void leave_world(Play play) const
    {
        std::filesystem::remove(path("maze_save.dat"));
        settings("Resolution: 320x240\nSeed: " + std::to_string(key_table_seed) + "\n");
        if (play <= PLAY_FAR) {
            leave_islands(path("maze_save.dat"));
        } else if (play == PLAY_CONTRACT) {
            leave_grid_with_a_leaf(path("before.dat"));
            std::filesystem::copy_file(path("before.dat"), path("maze_save.dat"));
        } else if (play == PLAY_RESHAPE) {
            leave_base_maze(path("maze_save.dat"), 12);
        }
    }

    static bool driven(const KeyRow& row, Play play)
    {
        return row.play == play && (row.layout == nullptr || row.layout == std::string(GetParam()));
    }

    void drive(Play play, const KeyLayout& layout) const
    {
        Session run(desktop, folder);
        run.start();
        const Playing playing = {desktop, run, layout, folder};
        if (play == PLAY_PICTURES) { // the pointer is seen in the picture
            desktop.run("xdotool mousemove 1279 999");
            run.show_frame();
        }
        if (play == PLAY_WALK) {
            run.tap("space");
            run.tap("space");
            run.tap("space"); // no text
        }
        for (const KeyRow& row : key_table) {
            if (driven(row, play)) {
                SCOPED_TRACE(row.keys);
                row.drive(playing, row.keys);
            }
        }
        EXPECT_EQ(run.running() ? run.escape() : run.finish(), 0);
        EXPECT_EQ(run.errors(), "");
    }

    void expect_left(Play play) const
    {
        for (const KeyRow& row : key_table) {
            if (driven(row, play) && row.left != nullptr) {
                SCOPED_TRACE(row.keys);
                row.left(folder);
            }
        }
    }
};

TEST_P(Key_table, is_true_row_by_row)
{
    const KeyLayout layout(desktop, GetParam());
    for (int i = 0; i < PLAYS; i++) {
        const Play play = static_cast<Play>(i);
        if (std::any_of(key_table.begin(), key_table.end(),
                        [&](const KeyRow& row) { return driven(row, play); })) {
            leave_world(play);
            drive(play, layout);
            expect_left(play);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(layouts, Key_table, testing::Values("us", "fr", "de", "dvorak", "ru"),
                         [](const auto& layout) { return std::string(layout.param); });

// Keys that act together, as a set.
using Chord = std::set<std::string>;

static Chord chord_of(const std::string& keys)
{
    Chord chord;
    std::istringstream names(keys);
    for (std::string name; std::getline(names, name, '+');) {
        chord.insert(name);
    }
    return chord;
}

// The words of a cell of the table, "+" among them; a comma or semicolon, and "or", are told as "|".
static std::vector<std::string> words_of(const std::string& cell)
{
    std::vector<std::string> words(1);
    for (const char c : cell) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
            words.back() += c;
            continue;
        }
        words.emplace_back();
        if (c == '+' || c == ',' || c == ';') {
            words.back() = c == '+' ? "+" : "|";
            words.emplace_back();
        }
    }
    std::erase(words, "");
    std::replace(words.begin(), words.end(), std::string("or"), std::string("|"));
    return words;
}

static bool is_modifier(const std::string& word)
{
    return word == "Shift" || word == "Ctrl";
}

static bool is_key(const std::string& word)
{
    const char first = word[0];
    const bool letter = word.size() == 1 && (std::isupper(first) != 0 || std::isdigit(first) != 0);
    const bool function = first == 'F' && word.size() > 1 && std::isdigit(word[1]) != 0;
    return letter || function || word == "Space" || word == "Escape";
}

// What a word of the table stands for.
static std::vector<std::string> gestures_of(const std::string& word)
{
    if (word == "arrows") {
        return {"Up", "Down", "Left", "Right"};
    }
    if (word == "wheel") {
        return {"wheel forward", "wheel back"};
    }
    if (word == "left" || word == "right") {
        return {word + " button"};
    }
    return is_key(word) ? std::vector<std::string>{word} : std::vector<std::string>{};
}

// All that a cell of the table names. Modifiers stand before a plus, or behind the key that they go with:
// "Shift + N, or Ctrl + N", "K; with Shift, Ctrl or both".
static std::set<Chord> named_in(const std::string& cell)
{
    std::set<Chord> all;
    Chord held;
    std::string last; // key
    for (const std::string& word : words_of(cell)) {
        if (word == "|") {
            if (!held.empty() && !last.empty()) {
                held.insert(last);
                all.insert(held);
            }
            held.clear();
        } else if (is_modifier(word)) {
            held.insert(word);
        } else if (word == "both") {
            all.insert({"Shift", "Ctrl", last});
        }
        for (const std::string& gesture : gestures_of(word)) {
            Chord chord = held;
            chord.insert(gesture);
            all.insert(chord);
            last = gesture;
        }
        if (!gestures_of(word).empty() && word != "arrows") {
            held.clear();
        }
    }
    return all;
}

static std::set<Chord> named_in_readme()
{
    std::set<Chord> all;
    std::ifstream file(CORVANE_SOURCE_DIR "/README.md");
    bool inside = false;
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("#", 0) == 0) {
            inside = line == "## Keys";
        } else if (inside && line.rfind("| ", 0) == 0) {
            all.merge(named_in(line.substr(2, line.find(" |") - 2)));
        }
    }
    return all;
}

static std::string told(const std::set<Chord>& chords)
{
    std::string text;
    for (const Chord& chord : chords) {
        for (const std::string& key : chord) {
            text += key + " ";
        }
        text += "\n";
    }
    return text;
}

TEST(Key_table_of_the_readme, names_what_is_driven_and_nothing_else)
{
    std::set<Chord> driven;
    for (const KeyRow& row : key_table) {
        driven.insert(chord_of(row.keys));
    }
    EXPECT_EQ(told(named_in_readme()), told(driven));
}
