// Runs of the programs in folders of their own, and what they leave: logs, pictures, files.
#pragma once

#include "base/types.h"
#include "tests/tempfolder.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <png.h>
#include <string>
#include <vector>

// A folder whose files are read and written in one word.
struct Folder : TempFolder {
    std::string read(const std::string& name) const // empty if it isn't there
    {
        return has(name) ? read_text(file(name)) : "";
    }
    void write(const std::string& name, const std::string& text) const
    {
        write_text(file(name), text);
    }
    // All names, in order, joined by blanks.
    std::string listing() const
    {
        std::string joined;
        for (const std::string& name : names()) {
            joined += (joined.empty() ? "" : " ") + name;
        }
        return joined;
    }
};

struct Outcome {
    int code; // exit code, or 128 and the signal
    std::string out, err;
};

// Runs a command in a folder.
inline Outcome run_in(const Folder& folder, const std::string& command)
{
    const Folder side;
    const int code = system_run(folder.path, command, side.file("out"), side.file("err"));
    return {code, side.read("out"), side.read("err")};
}

inline std::string program(const std::string& name)
{
    return std::string(CORVANE_BIN_DIR) + "/" + name;
}

// A log of corvane-play by columns.
struct Log {
    std::vector<std::string> columns;
    std::vector<std::map<std::string, std::string>> rows;

    f64 real(size_t row, const std::string& column) const
    {
        return std::strtod(rows.at(row).at(column).c_str(), nullptr);
    }
    i32 integer(size_t row, const std::string& column) const
    {
        return std::atoi(rows.at(row).at(column).c_str());
    }
};

inline std::vector<std::string> cut(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    size_t begin = 0;
    for (size_t end = 0; end != std::string::npos; begin = end + 1) {
        end = text.find(separator, begin);
        parts.push_back(text.substr(begin, end - begin));
        if (end == std::string::npos) {
            break;
        }
    }
    return parts;
}

inline Log parse_log(const std::string& text)
{
    Log log;
    const std::vector<std::string> lines = cut(text, '\n');
    log.columns = cut(lines.at(0), '\t');
    for (size_t i = 1; i < lines.size(); i++) {
        if (lines[i].empty()) {
            continue;
        }
        const std::vector<std::string> fields = cut(lines[i], '\t');
        EXPECT_EQ(fields.size(), log.columns.size());
        std::map<std::string, std::string> row;
        for (size_t j = 0; j < fields.size() && j < log.columns.size(); j++) {
            row[log.columns[j]] = fields[j];
        }
        log.rows.push_back(row);
    }
    return log;
}

struct Played {
    Outcome outcome;
    Log log;
};

// Plays a script in a folder, with a small window unless the options say otherwise; script and log
// stand elsewhere. `prefix` is put before the program's name.
inline Played play(const Folder& folder, const std::string& script,
                   const std::string& options = "--size 64x48", const std::string& prefix = "")
{
    const Folder side;
    side.write("script", script);
    const std::string command = prefix + (prefix.empty() ? "" : " ") + program("corvane-play") +
                                " " + side.file("script") + " --log " + side.file("log") + " " +
                                options;
    Played played;
    played.outcome = run_in(folder, command);
    const std::string log = side.read("log");
    if (!log.empty()) {
        played.log = parse_log(log);
    }
    return played;
}

// A picture, 3 bytes a pixel, rows from the top.
struct Picture {
    u32 width = 0, height = 0;
    std::vector<u8> rgb;

    // The number of pixels that aren't black.
    i32 lit() const
    {
        i32 count = 0;
        for (size_t i = 0; i + 2 < rgb.size(); i += 3) {
            count += rgb[i] != 0 || rgb[i + 1] != 0 || rgb[i + 2] != 0 ? 1 : 0;
        }
        return count;
    }
};

inline Picture read_png(const std::string& path)
{
    Picture picture;
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0) {
        ADD_FAILURE() << path << ": " << image.message;
        return picture;
    }
    image.format = PNG_FORMAT_RGB;
    picture.width = image.width;
    picture.height = image.height;
    picture.rgb.resize(PNG_IMAGE_SIZE(image));
    EXPECT_NE(png_image_finish_read(&image, nullptr, picture.rgb.data(), 0, nullptr), 0);
    return picture;
}

// The value of the line of a settings file whose key begins with `key`; "(none)" without one.
inline std::string setting(const Folder& folder, const std::string& key)
{
    for (const std::string& line : cut(folder.read("config.txt"), '\n')) {
        const size_t colon = line.find(':');
        if (line.rfind(key, 0) == 0 && colon != std::string::npos) {
            return line.substr(colon + 2);
        }
    }
    return "(none)";
}
