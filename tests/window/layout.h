// Keyboard layouts: which key of the keyboard is meant by a name of the key table.
#pragma once

#include "tests/window/desktop.h"

#include <map>
#include <sstream>
#include <stdexcept>
#include <string>

/// The numbers of keys by what they type without Shift, as the X server names it.
using KeyNumbers = std::map<std::string, int>;

inline KeyNumbers typed_now(const Desktop& desktop)
{
    KeyNumbers found;
    std::istringstream lines(desktop.run("xmodmap -pke"));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string keycode, equals, name;
        int number = 0;
        if (words >> keycode >> number >> equals >> name) {
            found.emplace(name, number); // the lowest number stays
        }
    }
    return found;
}

/// A keyboard layout that has been set on a display. Letters are where the layout types them, or where
/// they stand on an American keyboard if it types them nowhere; all other keys are by their place.
class KeyLayout
{
  public:
    KeyLayout(const Desktop& desktop, const std::string& name)
    {
        desktop.run("setxkbmap -layout us");
        places = typed_now(desktop);
        desktop.run("setxkbmap -layout " + name);
        typed = typed_now(desktop);
    }

    /// Keys of the key table, as "Shift+Ctrl+N", in the words of xdotool: by number.
    std::string numbers(const std::string& keys) const
    {
        std::string all;
        std::istringstream names(keys);
        for (std::string name; std::getline(names, name, '+');) {
            all += all.empty() ? "" : "+";
            all += name == "Escape" ? name : std::to_string(number(name)); // 9 would be the digit
        }
        return all;
    }

  private:
    int number(const std::string& key) const
    {
        static const std::map<std::string, std::string> names = {
            {"Ctrl", "Control_L"}, {"Shift", "Shift_L"}, {"Space", "space"}};
        if (key.size() == 1 && key[0] >= 'A' && key[0] <= 'Z') {
            const std::string letter(1, static_cast<char>(key[0] - 'A' + 'a'));
            return typed.contains(letter) ? typed.at(letter) : places.at(letter);
        }
        const auto found = names.find(key);
        return places.at(found == names.end() ? key : found->second);
    }

    KeyNumbers places, typed;
};
