// The glyphs of the one typeface, a row each, and the bytes that they come to.
//
// A row lists its nodes as x,y in 1/32 of the letter height, those with a rounded corner in brackets,
// and its edges as pairs of node numbers, counted from 0. A node alone is a square dot. At a rounded
// node a stroke would end in a half disc and a corner radius too early, so ends are sharp. A rounded
// node with three neighbours bends from each into the next: so 3, 8 and B get their waists. Where a
// stroke only touches another one between its ends there need not be a node.
//
// In the rows of a to z the height 16 is the x-height and -16 the bottom of a descender; shaping moves
// both to their places. The other glyphs stay above -12, so that the descenders are lowest, and the
// signs that stand between numbers are centred on 12. Brackets run from -8 to 32.
#include "text/nodefont.h"

namespace
{

struct GlyphRow {
    i32 code;
    const char* nodes;
    const char* edges;
};

// clang-format off
constexpr GlyphRow rows[] = {
    {33, "0,32 0,12 0,0", "01"},                                                       // !
    {34, "0,32 0,24 8,32 8,24", "01 23"},                                              // "
    {35, "4,0 8,32 12,0 16,32 0,8 20,8 0,24 20,24", "01 23 45 67"},                    // #
    {36, "16,28 (0,28) (0,16) (16,16) (16,4) 0,4 8,32 8,0", "01 12 23 34 45 67"},      // $
    {37, "4,0 20,32 (0,32) (8,32) (8,24) (0,24) (16,8) (24,8) (24,0) (16,0)",
         "01 23 34 45 52 67 78 89 96"},                                                // %
    {38, "20,0 (4,20) (4,32) (12,32) (12,20) (0,12) (0,0) (16,0) 20,12",
         "01 12 23 34 45 56 67 78"},                                                   // &
    {39, "0,32 0,24", "01"},                                                           // '
    {40, "8,32 (0,24) (0,0) 8,-8", "01 12 23"},                                        // (
    {41, "0,32 (8,24) (8,0) 0,-8", "01 12 23"},                                        // )
    {42, "8,32 8,16 0,28 16,20 0,20 16,28", "01 23 45"},                               // *
    {43, "8,20 8,4 0,12 16,12", "01 23"},                                              // +
    {44, "4,0 0,-8", "01"},                                                            // ,
    {45, "0,12 12,12", "01"},                                                          // -
    {46, "0,0", ""},                                                                   // .
    {47, "0,-4 12,32", "01"},                                                          // /
    {48, "(0,32) (0,0) (16,0) (16,32) 8,16", "01 12 23 30"},                           // 0
    {49, "0,24 8,32 8,0 0,0 16,0", "01 12 34"},                                        // 1
    {50, "0,24 (0,32) (16,32) (16,20) 0,0 16,0", "01 12 23 34 45"},                    // 2
    {51, "0,32 (16,32) (16,16) (16,0) 0,0 4,16", "01 12 23 34 25"},                    // 3
    {52, "12,0 12,32 0,8 16,8", "01 12 23"},                                           // 4
    {53, "16,32 0,32 0,20 (16,20) (16,0) 0,0", "01 12 23 34 45"},                      // 5
    {54, "16,32 (0,32) (0,0) (16,0) (16,20) 0,20", "01 12 23 34 45"},                  // 6
    {55, "0,32 16,32 4,0", "01 12"},                                                   // 7
    {56, "(0,32) (16,32) (16,16) (16,0) (0,0) (0,16)", "01 12 23 34 45 50 52"},        // 8
    {57, "0,0 (16,0) (16,32) (0,32) (0,12) 16,12", "01 12 23 34 45"},                  // 9
    {58, "0,0 0,16", ""},                                                              // :
    {59, "4,16 4,0 0,-8", "12"},                                                       // ;
    {60, "12,20 0,12 12,4", "01 12"},                                                  // <
    {61, "0,16 16,16 0,8 16,8", "01 23"},                                              // =
    {62, "0,20 12,12 0,4", "01 12"},                                                   // >
    {63, "0,24 (0,32) (16,32) (16,20) (8,16) 8,8 8,0", "01 12 23 34 45"},              // ?
    {64, "24,0 (0,0) (0,32) (24,32) (24,8) 16,8 16,24 (8,24) (8,8)",
         "01 12 23 34 45 56 67 78 85"},                                                // @
    {65, "0,0 0,16 (16,32) 16,0 16,16 (0,32)", "01 42 43 14 15 52"},                   // A
    {66, "0,0 0,32 (16,32) (16,16) (16,0) 0,16", "01 12 23 34 40 53"},                 // B
    {67, "16,32 (0,32) (0,0) 16,0", "01 12 23"},                                       // C
    {68, "0,0 0,32 (16,32) (16,0)", "01 12 23 30"},                                    // D
    {69, "16,32 0,32 0,16 0,0 16,0 12,16", "01 12 23 34 25"},                          // E
    {70, "16,32 0,32 0,16 0,0 12,16", "01 12 23 24"},                                  // F
    {71, "16,32 (0,32) (0,0) (16,0) 16,16 8,16", "01 12 23 34 45"},                    // G
    {72, "0,0 0,32 16,0 16,32 0,16 16,16", "01 23 45"},                                // H
    {73, "0,0 8,0 0,32 8,32 4,0 4,32", "01 23 45"},                                    // I
    {74, "16,32 (16,0) 0,0", "01 12"},                                                 // J
    {75, "0,0 0,32 0,16 16,32 16,0", "01 23 24"},                                      // K
    {76, "0,32 0,0 16,0", "01 12"},                                                    // L
    {77, "0,0 0,32 12,16 24,32 24,0", "01 12 23 34"},                                  // M
    {78, "0,0 0,32 16,0 16,32", "01 12 23"},                                           // N
    {79, "(0,32) (0,0) (16,0) (16,32)", "01 12 23 30"},                                // O
    {80, "0,0 0,32 (16,32) (16,16) 0,16", "01 12 23 34"},                              // P
    {81, "(0,32) (0,0) (16,0) (16,32) 8,8 20,-4", "01 12 23 30 45"},                   // Q
    {82, "0,0 0,32 (16,32) (16,16) 8,16 0,16 16,0", "01 12 23 34 45 46"},              // R
    {83, "16,24 (16,32) (0,32) (0,16) (16,16) (16,0) (0,0) 0,8", "01 12 23 34 45 56 67"}, // S
    {84, "0,32 16,32 8,32 8,0", "01 23"},                                              // T
    {85, "0,32 (0,0) (16,0) 16,32", "01 12 23"},                                       // U
    {86, "0,32 8,0 16,32", "01 12"},                                                   // V
    {87, "0,32 4,0 12,24 20,0 24,32", "01 12 23 34"},                                  // W
    {88, "0,0 16,32 0,32 16,0", "01 23"},                                              // X
    {89, "0,32 8,16 16,32 8,0", "01 12 13"},                                           // Y
    {90, "0,32 16,32 0,0 16,0", "01 12 23"},                                           // Z
    {91, "8,32 0,32 0,-8 8,-8", "01 12 23"},                                           // [
    {92, "0,32 12,-4", "01"},                                                          // backslash
    {93, "0,32 8,32 8,-8 0,-8", "01 12 23"},                                           // ]
    {94, "0,20 8,32 16,20", "01 12"},                                                  // ^
    {95, "0,-8 16,-8", "01"},                                                          // _
    {96, "0,32 8,24", "01"},                                                           // `
    {97, "(0,0) (0,16) 16,16 16,0", "01 23 03 12"},                                    // a
    {98, "0,32 0,0 (16,0) (16,16) 0,16", "01 12 23 34"},                               // b
    {99, "16,16 (0,16) (0,0) 16,0", "01 12 23"},                                       // c
    {100, "16,32 16,0 (0,0) (0,16) 16,16", "01 12 23 34"},                             // d
    {101, "0,8 16,8 (16,16) (0,16) (0,0) 16,0", "01 12 23 34 45"},                     // e
    {102, "12,32 (4,32) 4,0 0,16 12,16", "01 12 34"},                                  // f
    {103, "16,0 (0,0) (0,16) 16,16 (16,-16) 0,-16", "01 12 23 34 45"},                 // g
    {104, "0,32 0,0 0,16 (16,16) 16,0", "01 23 34"},                                   // h
    {105, "0,16 0,0 0,28", "01"},                                                      // i
    {106, "8,16 (8,-16) 0,-16 8,28", "01 12"},                                         // j
    {107, "0,32 0,0 0,8 12,16 12,0", "01 23 24"},                                      // k
    {108, "0,32 (0,0) 8,0", "01 12"},                                                  // l
    {109, "0,0 0,16 (12,16) 12,0 4,16 (24,16) 24,0", "01 12 23 45 56"},                // m
    {110, "0,0 0,16 (16,16) 16,0", "01 12 23"},                                        // n
    {111, "(0,0) (0,16) (16,16) (16,0)", "01 12 23 30"},                               // o
    {112, "0,-16 0,16 (16,16) (16,0) 0,0", "01 12 23 34"},                             // p
    {113, "16,-16 16,16 (0,16) (0,0) 16,0", "01 12 23 34"},                            // q
    {114, "0,0 0,16 (12,16) 12,12", "01 12 23"},                                       // r
    {115, "16,16 (0,16) (0,8) (16,8) (16,0) 0,0", "01 12 23 34 45"},                   // s
    {116, "4,28 (4,0) 12,0 0,16 12,16", "01 12 34"},                                   // t
    {117, "0,16 (0,0) 16,0 16,16", "01 12 23"},                                        // u
    {118, "0,16 8,0 16,16", "01 12"},                                                  // v
    {119, "0,16 4,0 12,16 20,0 24,16", "01 12 23 34"},                                 // w
    {120, "0,0 16,16 0,16 16,0", "01 23"},                                             // x
    {121, "0,16 (0,0) 16,0 16,16 (16,-16) 0,-16", "01 12 34 45"},                      // y
    {122, "0,16 16,16 0,0 16,0", "01 12 23"},                                          // z
    {123, "8,32 (4,32) (4,12) 0,12 (4,-8) 8,-8", "01 12 23 24 45"},                    // {
    {124, "0,32 0,-8", "01"},                                                          // |
    {125, "0,32 (4,32) (4,12) 8,12 (4,-8) 0,-8", "01 12 23 24 45"},                    // }
    {126, "0,8 (4,16) (12,8) 16,16", "01 12 23"},                                      // ~
    {163, "16,32 (4,32) 4,0 0,0 16,0 0,16 12,16", "01 12 34 56"},                      // pound sign
    {166, "0,32 0,20 0,4 0,-8", "01 23"},                                              // broken bar
    {172, "0,16 16,16 16,8", "01 12"},                                                 // not sign
};
// clang-format on

enum { GRID = 4, MOSTX = 24, LEASTY = -16, MOSTY = 32 }; // of the coordinates
enum { MOSTNODES = 10, MOSTEDGES = 10 };                 // of a row; a node number is one digit

struct Glyph {
    u8 nodes[3 * MOSTNODES];
    u8 edges[2 * MOSTEDGES];
    i32 nnodes, nedges;
    bool sound; // the row reads to its end and keeps to the grid
};

struct Table {
    u8 bytes[NODEFONT_LENGTH];
    i32 length; // that the rows come to, which may be more than there is room for
    bool sound; // all rows are, and stand in the order of their codes
};

constexpr bool isdigit(char c)
{
    return c >= '0' && c <= '9';
}

// Reads a coordinate and moves the cursor behind it.
constexpr i32 readcoord(const char** cursor, i32 least, i32 most, bool* sound)
{
    const char* text = *cursor;
    const bool negative = *text == '-';
    text += negative ? 1 : 0;
    *sound = *sound && isdigit(*text);
    i32 value = 0;
    for (; isdigit(*text); text++) {
        value = value * 10 + (*text - '0');
    }
    value = negative ? -value : value;
    *sound = *sound && value >= least && value <= most && value % GRID == 0;
    *cursor = text;
    return value;
}

// Takes one character if it is the next one; otherwise the row isn't sound.
constexpr void expect(const char** cursor, char c, bool* sound)
{
    *sound = *sound && **cursor == c;
    *cursor += **cursor == c ? 1 : 0;
}

constexpr void readnodes(Glyph* glyph, const char* text)
{
    while (glyph->sound && *text != 0) {
        if (glyph->nnodes > 0) {
            expect(&text, ' ', &glyph->sound);
        }
        if (glyph->nnodes == MOSTNODES) {
            glyph->sound = false;
            return;
        }
        u8* node = &glyph->nodes[3 * glyph->nnodes];
        const bool rounded = *text == '(';
        text += rounded ? 1 : 0;
        node[0] = static_cast<u8>(readcoord(&text, 0, MOSTX, &glyph->sound));
        expect(&text, ',', &glyph->sound);
        node[1] = static_cast<u8>(readcoord(&text, LEASTY, MOSTY, &glyph->sound));
        node[2] = rounded ? NODEFONT_ROUNDED : NODEFONT_SHARP;
        if (rounded) {
            expect(&text, ')', &glyph->sound);
        }
        glyph->nnodes++;
    }
}

// The number of a node that the glyph has.
constexpr u8 readend(const Glyph* glyph, const char** cursor, bool* sound)
{
    const i32 end = **cursor - '0';
    if (end < 0 || end >= glyph->nnodes) {
        *sound = false;
        return 0;
    }
    *cursor += 1;
    return static_cast<u8>(end);
}

constexpr void readedges(Glyph* glyph, const char* text)
{
    while (glyph->sound && *text != 0) {
        if (glyph->nedges > 0) {
            expect(&text, ' ', &glyph->sound);
        }
        if (glyph->nedges == MOSTEDGES) {
            glyph->sound = false;
            return;
        }
        u8* edge = &glyph->edges[2 * glyph->nedges];
        edge[0] = readend(glyph, &text, &glyph->sound);
        edge[1] = readend(glyph, &text, &glyph->sound);
        glyph->sound = glyph->sound && edge[0] != edge[1];
        glyph->nedges++;
    }
}

constexpr void putbyte(Table* table, u8 byte)
{
    if (table->length < NODEFONT_LENGTH) {
        table->bytes[table->length] = byte;
    }
    table->length++;
}

constexpr void putglyph(Table* table, const Glyph* glyph)
{
    putbyte(table, static_cast<u8>(glyph->nnodes));
    putbyte(table, static_cast<u8>(glyph->nedges));
    for (i32 i = 0; i < 3 * glyph->nnodes; i++) { // in the order of the row, here and below
        putbyte(table, glyph->nodes[i]);
    }
    for (i32 i = 0; i < 2 * glyph->nedges; i++) {
        putbyte(table, glyph->edges[i]);
    }
}

constexpr Table packed()
{
    constexpr i32 nrows = sizeof rows / sizeof rows[0];
    Table table = {.bytes = {}, .length = 0, .sound = true};
    i32 row = 0;
    for (i32 code = 0; code < NODEFONT_CODES; code++) { // blocks stand in the order of their codes
        Glyph glyph = {.nodes = {}, .edges = {}, .nnodes = 0, .nedges = 0, .sound = true};
        if (row < nrows && rows[row].code == code) {
            readnodes(&glyph, rows[row].nodes);
            readedges(&glyph, rows[row].edges);
            row++;
        }
        table.sound = table.sound && glyph.sound;
        putglyph(&table, &glyph);
    }
    table.sound = table.sound && row == nrows;
    return table;
}

// The blocks that the bytes hold, -1 if the last one runs over their end.
constexpr i32 blockcount(const Table* table)
{
    i32 blocks = 0;
    i32 at = 0;
    while (at + 1 < NODEFONT_LENGTH) {
        at += 2 + 3 * table->bytes[at] + 2 * table->bytes[at + 1];
        blocks++;
    }
    return at == NODEFONT_LENGTH ? blocks : -1;
}

constexpr Table table = packed();
static_assert(sizeof rows / sizeof rows[0] == 97, "as many glyphs as the typeface has");
static_assert(table.sound,
              "every row reads to its end, on the grid, its code above the last one's");
static_assert(table.length == NODEFONT_LENGTH, "the rows come to the length of the table");
static_assert(blockcount(&table) == NODEFONT_CODES, "one block a code");

} // namespace

const u8 (&nodefont_data)[NODEFONT_LENGTH] = table.bytes;
