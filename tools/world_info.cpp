// What is told of a saved world: figures, digests, the dump.
#include "model/mazegame.h"
#include "world.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

enum {
    NAMES_SHOWN = 4, // of each level
    NAME_CHARS = 40, // of a name that is shown
};

/// Figures of all mazes that lie equally deep, or of all there are.
struct LevelFigures {
    size_t mazes, nodes, edges;
    size_t visited;                 // nodes that the player has been on
    size_t walked;                  // edges that the player has gone along
    size_t named;                   // mazes that have a name
    const char* names[NAMES_SHOWN]; // lent, the first of them
};

/// What is told of a world.
struct WorldFigures {
    GrowArray levels; // of LevelFigures, the root's first
    f64 low[3];       // the box of all node positions
    f64 high[3];
};

static LevelFigures* levelat(const WorldFigures* figures, i32 level)
{
    return items<LevelFigures>(&figures->levels) + level;
}

static bool walkedto(const MazeNode* node, i32 target)
{
    for (i32 i = static_cast<i32>(node->nedges) - 1; i >= 0; i--) {
        if (node->edges[i] == target && node->edgerec[i].walked >= 0.0) {
            return true;
        }
    }
    return false;
}

// Edges of a node to higher ones that have been walked, in either direction.
static size_t walkededges(const Maze* maze, i32 n)
{
    const MazeNode* const node = Maze_node(maze, n);
    size_t walked = 0;
    for (i32 i = static_cast<i32>(node->nedges) - 1; i >= 0; i--) {
        const i32 target = node->edges[i];
        if (target > n &&
            (node->edgerec[i].walked >= 0.0 || walkedto(Maze_node(maze, target), n))) {
            walked++;
        }
    }
    return walked;
}

static void addmaze(LevelFigures* level, const Maze* maze)
{
    level->mazes++;
    level->nodes += maze->nodes.count;
    level->edges += static_cast<size_t>(Maze_edgecount(maze));
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        level->visited += Maze_node(maze, i)->rec.walked >= 0.0 ? 1 : 0;
        level->walked += walkededges(maze, i);
    }
    if (maze->name != nullptr) {
        if (level->named < NAMES_SHOWN) {
            level->names[level->named] = maze->name;
        }
        level->named++;
    }
}

static void widen(WorldFigures* figures, const f64 pos[3])
{
    for (i32 k = 2; k >= 0; k--) {
        figures->low[k] = pos[k] < figures->low[k] ? pos[k] : figures->low[k];
        figures->high[k] = pos[k] > figures->high[k] ? pos[k] : figures->high[k];
    }
}

// Adds a maze and all below it.
static void addtree(WorldFigures* figures, const Maze* maze, i32 level)
{
    if (level == static_cast<i32>(figures->levels.count)) {
        const LevelFigures none = {};
        GrowArray_push(&figures->levels, &none);
    }
    addmaze(levelat(figures, level), maze);
    const i32 n = Maze_count(maze);
    for (i32 i = 0; i < n; i++) { // so that the first names in the file are shown
        const MazeNode* const node = Maze_node(maze, i);
        widen(figures, node->pos);
        if (node->sub != nullptr) {
            addtree(figures, node->sub, level + 1);
        }
    }
}

static LevelFigures sumof(const WorldFigures* figures)
{
    LevelFigures sum = {};
    for (i32 i = static_cast<i32>(figures->levels.count) - 1; i >= 0; i--) {
        const LevelFigures* const level = levelat(figures, i);
        sum.mazes += level->mazes;
        sum.nodes += level->nodes;
        sum.edges += level->edges;
        sum.visited += level->visited;
        sum.walked += level->walked;
        sum.named += level->named;
    }
    return sum;
}

static void printgame(const MazeGame* game)
{
    char place[SAVE_PLACE];
    nameplace(game->pos.maze, place);
    const f64* const at = Pos_node(game->pos)->pos;
    std::printf("clock   %.3f s\n", game->time);
    std::printf("player  %s, node %d, at %.6g %.6g %.6g\n", place, game->pos.node, at[0], at[1],
                at[2]);
}

static void printbounds(const WorldFigures* figures, const Maze* root)
{
    const f64* const low = figures->low;
    const f64* const high = figures->high;
    std::printf("box     x %.6g to %.6g, y %.6g to %.6g, z %.6g to %.6g\n", low[0], high[0], low[1],
                high[1], low[2], high[2]);
    std::printf("sphere  about %.6g %.6g %.6g, radius %.6g: the nodes of the root\n",
                root->centre[0], root->centre[1], root->centre[2], root->boundradius);
}

static void printcounts(const LevelFigures* level)
{
    std::printf(" %10zu %10zu %10zu %10zu %10zu %10zu\n", level->mazes, level->named, level->nodes,
                level->visited, level->edges, level->walked);
}

static void printlevels(const WorldFigures* figures, const LevelFigures* sum)
{
    const i32 n = static_cast<i32>(figures->levels.count);
    std::printf("\nlevel  %10s %10s %10s %10s %10s %10s\n", "mazes", "named", "nodes", "visited",
                "edges", "walked");
    for (i32 i = 0; i < n; i++) { // from the root down
        std::printf("%5d ", i);
        printcounts(levelat(figures, i));
    }
    std::printf("  all ");
    printcounts(sum);
}

// The beginning of a name, with what is no letter of a plain text shown as a question mark.
static void printname(const char* name)
{
    i32 shown = 0;
    for (; name[shown] != 0 && shown < NAME_CHARS; shown++) { // from its first letter on
        const char c = name[shown];
        std::putchar(c >= ' ' && c <= '~' ? c : '?');
    }
    if (name[shown] != 0) {
        std::fputs("...", stdout);
    }
}

static void printnames(const LevelFigures* level, i32 number)
{
    std::printf("%5d  ", number);
    size_t shown = 0;
    for (; shown < level->named && shown < NAMES_SHOWN; shown++) { // in the order of the file
        std::fputs(shown > 0 ? ", " : "", stdout);
        printname(level->names[shown]);
    }
    if (level->named > shown) {
        std::printf(", and %zu more", level->named - shown);
    }
    std::putchar('\n');
}

static void printallnames(const WorldFigures* figures)
{
    const i32 n = static_cast<i32>(figures->levels.count);
    std::fputs("\nlevel  names\n", stdout);
    for (i32 i = 0; i < n; i++) { // from the root down
        const LevelFigures* const level = levelat(figures, i);
        if (level->named > 0) {
            printnames(level, i);
        }
    }
}

static void printworld(const char* path, const MazeGame* game, size_t size)
{
    WorldFigures figures = {};
    GrowArray_init(&figures.levels, sizeof(LevelFigures));
    for (i32 k = 2; k >= 0; k--) {
        figures.low[k] = Maze_node(game->root, 0)->pos[k];
        figures.high[k] = figures.low[k];
    }
    addtree(&figures, game->root, 0);
    const LevelFigures sum = sumof(&figures);
    std::printf("file    %s: %zu bytes, %.1f a node\n", path, size,
                static_cast<f64>(size) / static_cast<f64>(sum.nodes));
    printgame(game);
    printbounds(&figures, game->root);
    std::printf("depth   %u level%s\n", figures.levels.count, figures.levels.count > 1 ? "s" : "");
    printlevels(&figures, &sum);
    if (sum.named > 0) {
        printallnames(&figures);
    }
    GrowArray_free(&figures.levels);
}

int command_info(char** words, int count)
{
    MazeGame game;
    size_t size = 0;
    if (count != 1) {
        tool_bad("info takes one file (--help tells more)");
        return EXIT_BAD;
    }
    if (!tool_readworld(words[0], &game, &size)) {
        return EXIT_BAD;
    }
    printworld(words[0], &game, size);
    MazeGame_free(&game);
    return EXIT_DONE;
}

int command_digest(char** words, int count)
{
    MazeGame game;
    size_t size = 0;
    if (count != 1) {
        tool_bad("digest takes one file (--help tells more)");
        return EXIT_BAD;
    }
    if (!tool_readworld(words[0], &game, &size)) {
        return EXIT_BAD;
    }
    printdigest(game.root);
    std::putchar('\n');
    MazeGame_free(&game);
    return EXIT_DONE;
}

// Makes an empty file of a name that nothing has yet; tells what stands against it.
static bool makenew(const char* path)
{
    std::FILE* const file = std::fopen(path, "wx");
    if (file == nullptr) {
        const int error = errno;
        return tool_bad("%s: %s", path,
                        error == EEXIST ? "it is there already, and is left as it is"
                                        : std::strerror(error));
    }
    std::fclose(file);
    return true;
}

int command_dump(char** words, int count)
{
    MazeGame game;
    size_t size = 0;
    if (count != 2) {
        tool_bad("dump takes a saved world and a new file (--help tells more)");
        return EXIT_BAD;
    }
    if (!tool_readworld(words[0], &game, &size)) {
        return EXIT_BAD;
    }
    bool whole = makenew(words[1]);
    if (whole && Maze_dump(game.root, words[1], words[0], MAZE_DUMP_ALL) < 0) {
        std::remove(words[1]);
        whole = tool_bad("%s: it could not be written whole, and is removed", words[1]);
    }
    MazeGame_free(&game);
    return whole ? EXIT_DONE : EXIT_BAD;
}
