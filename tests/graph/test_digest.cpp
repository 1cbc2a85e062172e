#include "base/str.h"
#include "model/digest.h"
#include "tests/mazes.h"

#include <gtest/gtest.h>
#include <limits>
#include <string>

// The hash of a row of bytes, as it is defined.
static std::uint64_t fnv(const std::string& bytes)
{
    std::uint64_t hash = 14695981039346656037U;
    for (const char c : bytes) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 1099511628211U;
    }
    return hash;
}

// The lowest `size` bytes of a number, the lowest first.
static std::string bytes_of(long long value, int size)
{
    std::string bytes;
    for (int i = 0; i < size; i++) {
        bytes += static_cast<char>(value >> (8 * i));
    }
    return bytes;
}

static std::string number(long long value)
{
    return bytes_of(value, 4);
}

static std::string real(long long digits, long long exponent)
{
    return bytes_of(digits, 8) + bytes_of(exponent, 8);
}

static std::uint64_t graph_of(const Maze* maze)
{
    return Maze_digestgraph(DIGEST_START, maze);
}

static std::uint64_t place_of(const Maze* maze)
{
    return Maze_digestplace(DIGEST_START, maze);
}

TEST(Maze_digestgraph, of_bytes_agrees_with_published_values)
{
    EXPECT_EQ(fnv(""), 0xcbf29ce484222325U);
    EXPECT_EQ(fnv("a"), 0xaf63dc4c8601ec8cU);
    EXPECT_EQ(fnv("foobar"), 0x85944171f73967e8U);
    EXPECT_EQ(DIGEST_START, fnv(""));
}

TEST(Maze_digestgraph, hashes_counts_names_edges_and_colours_in_their_order)
{
    const World maze(make_graph(3, {{0, 2}, {0, 1}}));
    str_set(&maze->name, "ab");
    Maze_node(maze.get(), 0)->edgerec[1].colour = 0xFF0102;
    Maze_node(maze.get(), 2)->rec.colour = 7;
    EXPECT_EQ(graph_of(maze.get()),
              fnv(number(3) + std::string("ab", 3) + number(2) + number(2) + number(0x808080) +
                  number(1) + number(0xFF0102) + number(0x808080) + bytes_of(0, 1) + number(1) +
                  number(0) + number(0x808080) + number(0x808080) + bytes_of(0, 1) + number(1) +
                  number(0) + number(0x808080) + number(7) + bytes_of(0, 1)));
}

TEST(Maze_digestgraph, enters_a_submaze_after_the_node_that_holds_it)
{
    const World maze(make_nodes(2));
    hang(maze.get(), 0, make_nodes(1));
    const std::string node = number(0) + number(0x808080);
    const std::string none = bytes_of(0, 1);
    const std::string one = bytes_of(1, 1);
    EXPECT_EQ(graph_of(maze.get()),
              fnv(number(2) + none + node + one + number(1) + none + node + none + node + none));
}

TEST(Maze_digestgraph, takes_an_empty_name_for_none)
{
    const World maze(make_line(2));
    const std::uint64_t before = graph_of(maze.get());
    str_set(&maze->name, "");
    EXPECT_EQ(graph_of(maze.get()), before);
}

TEST(Maze_digestgraph, passes_over_visits_and_places)
{
    const World maze(make_ring(5));
    const std::uint64_t before = graph_of(maze.get());
    Maze_scale(maze.get(), 3.0);
    Maze_bounds(maze.get(), true);
    Pos_markwalked({maze.get(), 0}, {maze.get(), 1}, 4.0);
    Maze_node(maze.get(), 2)->expandable = 1;
    maze->exitsused = 3;
    EXPECT_EQ(graph_of(maze.get()), before);
}

TEST(Maze_digestgraph, sees_the_order_of_edges)
{
    const World one(make_graph(3, {{0, 1}, {0, 2}}));
    const World other(make_graph(3, {{0, 2}, {0, 1}}));
    EXPECT_NE(graph_of(one.get()), graph_of(other.get()));
}

TEST(Maze_digestgraph, goes_on_from_another_hash)
{
    const World maze(make_nodes(1));
    EXPECT_EQ(
        Maze_digestgraph(fnv("x"), maze.get()),
        fnv("x" + number(1) + bytes_of(0, 1) + number(0) + number(0x808080) + bytes_of(0, 1)));
}

TEST(Maze_digestplace, hashes_the_numbers_of_each_node_at_six_digits)
{
    const World maze(Maze_new());
    add_node(maze.get(), 1.0, -10.0, 0.0, 0.5);
    add_node(maze.get(), 3.14159265, 1e-3, -1e300, 1234567.0);
    Maze* const sub = hang(maze.get(), 0, Maze_new());
    add_node(sub, 6.0, 0.0, 0.0, 0.25);
    EXPECT_EQ(place_of(maze.get()),
              fnv(real(500000, 1) + real(-625000, 4) + real(0, 0) + real(500000, 0) +
                  real(750000, 3) + real(0, 0) + real(0, 0) + real(500000, -1) + real(785398, 2) +
                  real(512000, -9) + real(-746611, 997) + real(588687, 21)));
}

// The digest of a value, as x of a node at no height and of no size.
static std::uint64_t place_of_value(f64 value)
{
    const World maze(Maze_new());
    add_node(maze.get(), value, 0.0, 0.0, 0.0);
    return place_of(maze.get());
}

static std::uint64_t fnv_of_value(long long digits, long long exponent)
{
    return fnv(real(digits, exponent) + real(0, 0) + real(0, 0) + real(0, 0));
}

TEST(Maze_digestplace, takes_small_values_for_0)
{
    for (const f64 value : {0.0, -0.0, 9.99999e-10, -9.99999e-10, 1e-300}) {
        EXPECT_EQ(place_of_value(value), fnv_of_value(0, 0)) << value;
    }
    EXPECT_EQ(place_of_value(1e-9), fnv_of_value(536871, -29));
    EXPECT_EQ(place_of_value(-1e-9), fnv_of_value(-536871, -29));
}

TEST(Maze_digestplace, takes_what_is_not_finite_for_0)
{
    const f64 infinity = std::numeric_limits<f64>::infinity();
    for (const f64 value : {infinity, -infinity, std::numeric_limits<f64>::quiet_NaN()}) {
        EXPECT_EQ(place_of_value(value), fnv_of_value(0, 0)) << value;
    }
}

TEST(Maze_digestplace, halves_what_is_rounded_up_to_a_million)
{
    EXPECT_EQ(place_of_value(0.9999998), fnv_of_value(500000, 1));
    EXPECT_EQ(place_of_value(-0.9999998), fnv_of_value(-500000, 1));
    EXPECT_EQ(place_of_value(0.9999998), place_of_value(1.0));
    EXPECT_NE(place_of_value(0.999999), place_of_value(1.0));
}

TEST(Maze_digestplace, rounds_halves_away_from_0)
{
    EXPECT_EQ(place_of_value(0.5078125), fnv_of_value(507813, 0));
    EXPECT_EQ(place_of_value(-0.5078125), fnv_of_value(-507813, 0));
    EXPECT_EQ(place_of_value(0.5234375), fnv_of_value(523438, 0));
}
