// Reads what is written in a picture: finds the text that, drawn by the text routines, gives these
// pixels. The text must stand on black.
#pragma once

#include "gfx/screenshot.h"
#include "shell/hud.h"
#include "tests/scripted_window.h"
#include "tests/shell_run.h"
#include "text/bitmapfonts.h"
#include "text/drawtext.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

/// Draws texts on black in a window of its own and gives the pixels.
class TextPainter
{
  public:
    TextPainter(i32 width, i32 height) : window((scripted_begin(), width), height)
    {
        hud_makefonts();
    }

    /// One text in white, as rows of red, green and blue from the top.
    std::vector<u8> paint(f32 x, f32 y, const std::string& text) const
    {
        glClear(GL_COLOR_BUFFER_BIT);
        text_draw(x, y, text.c_str(), 0xFFFFFF);
        u8* const rgb = picture_read(gfx_width, gfx_height);
        const std::vector<u8> pixels(rgb, rgb + gfx_width * gfx_height * 3);
        std::free(rgb);
        return pixels;
    }

    /// The same, but only what comes to lie in a box, with its lowest row first.
    void paint_box(std::vector<u8>* pixels, i32 x, i32 y, i32 width, i32 height,
                   const std::string& text) const
    {
        const i32 bottom = gfx_height - y - height;
        glEnable(GL_SCISSOR_TEST);
        glScissor(x, bottom, width, height);
        glClear(GL_COLOR_BUFFER_BIT);
        text_draw(static_cast<f32>(x), static_cast<f32>(y), text.c_str(), 0xFFFFFF);
        glDisable(GL_SCISSOR_TEST);
        pixels->resize(static_cast<size_t>(width * height * 3));
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glReadPixels(x, bottom, width, height, GL_RGB, GL_UNSIGNED_BYTE, pixels->data());
        glPixelStorei(GL_PACK_ALIGNMENT, 4);
    }

  private:
    ScriptedWindow window;
};

/// Reads one line of white text that begins at a place of a picture, up to `most` pixels from there. The
/// text is tried in a window of the picture's size, where it comes out the same to the last bit.
class LineReader
{
  public:
    LineReader(const Picture& picture, i32 x, i32 y, i32 most)
        : left(x), top(y), width(std::min(most, static_cast<i32>(picture.width) - x)),
          painter(static_cast<i32>(picture.width), static_cast<i32>(picture.height))
    {
        for (i32 row = rows - 1; row >= 0; row--) {
            const size_t from =
                (static_cast<size_t>(y + row) * picture.width + static_cast<size_t>(x)) * 3;
            for (size_t i = 0; i < static_cast<size_t>(width) * 3; i++) {
                wanted.push_back(picture.rgb.at(from + i));
            }
        }
    }

    /// The text, or what could be read of it with "..." behind.
    std::string read()
    {
        longest = "";
        std::string text;
        return extend(&text) ? text : longest + "...";
    }

  private:
    static constexpr i32 rows = 15; // the next line's ramps begin below
    i32 left, top, width;
    TextPainter painter;
    std::vector<u8> wanted, got; // the lowest row first
    std::string longest;
    i32 tries = 6000; // what is no text is given up in the end

    // Whether a text looks right in the columns left of `end`.
    bool fits(const std::string& text, i32 end)
    {
        painter.paint_box(&got, left, top, width, rows, text);
        for (i32 row = rows - 1; row >= 0; row--) {
            for (i32 i = 3 * std::min(end, width) - 1; i >= 0; i--) {
                const size_t at = static_cast<size_t>(row * width * 3 + i);
                if (std::abs(got[at] - wanted[at]) > 4) {
                    return false;
                }
            }
        }
        return true;
    }

    bool extend(std::string* text)
    {
        if (fits(*text, width)) {
            return true;
        }
        const std::string before = *text;
        tries--;
        // what numbers are made of comes first
        for (const char c : std::string("0123456789abcdefx :.,/%()nodesMaztviufrqAhcgjklmpwyCDEFG"
                                        "BHIJKLNOPQRSTUVWXYZ-+='!?;\"#$&*<>@[]^_`{|}~\\")) {
            if (tries <= 0) {
                return false;
            }
            tries--;
            const std::string longer = before + c;
            const i32 end = static_cast<i32>(text_width(longer.c_str())) - 2;
            if (end < width && fits(longer, end)) {
                *text = longer;
                longest = longer.size() > longest.size() ? longer : longest;
                if (extend(text)) {
                    return true;
                }
            }
        }
        *text = before;
        return false;
    }
};

/// The text of one line. The next line may begin 15 rows lower.
inline std::string read_line(const Picture& picture, i32 x, i32 y, i32 most = 400)
{
    return LineReader(picture, x, y, most).read();
}
