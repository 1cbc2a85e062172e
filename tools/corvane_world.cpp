// corvane-world: worlds without a window.
#include "world.h"

#include <cstring>

const char tool_name[] = "corvane-world";

static const char help_text[] =
    "corvane-world COMMAND\n"
    "Makes worlds and tells about them without opening a window. The exit code is 2 for a bad\n"
    "argument or file, with one line on standard error. A FILE is a saved game, and is only read.\n"
    "\n"
    "  make --seed S --mode M [--kind K] [--out FILE] [--digest]\n"
    "      makes the world that the game makes from this state of its random numbers. S is a "
    "number\n"
    "      below 2^32. M is 0 for a random world, 1 for the nested grid, 2 for the gallery of "
    "chains.\n"
    "      K, from 0 to 12, makes a random world of one kind: 0, 1 and 2 a flat grid, 3 "
    "triangles,\n"
    "      4 a honeycomb, 5 a block, 6 a disc, 7 a sphere, 10 a torus, 11 a strip with a half "
    "turn,\n"
    "      and 8, 9 and 12 worlds of two, three and four nested levels. Lines about the progress "
    "go\n"
    "      to standard error.\n"
    "        --out FILE   saves the world: as maze_save.dat in its folder the game goes on with "
    "it.\n"
    "                     A file that is there is replaced by the whole new one, or, if that "
    "fails,\n"
    "                     left as it is\n"
    "        --digest     prints graph=HEX place=HEX as digest does, and draws=N rand_state=N: "
    "how\n"
    "                     many random numbers the world took, and the state they left\n"
    "\n"
    "  check FILE\n"
    "      whether a save file is sound. The exit code is 0 if it is, 1 if it is not, with the "
    "first\n"
    "      fault and its place: node numbers from the root down, as maze 1/17, node 3; and 2 if "
    "it\n"
    "      can't be read, or ends too early to be told apart into mazes and nodes\n"
    "\n"
    "  info FILE\n"
    "      prints where the player is, the clock, how large the world is, and for each level how "
    "many\n"
    "      mazes, nodes and edges it has, how many of them have a name or have been visited, and\n"
    "      some of the names\n"
    "\n"
    "  digest FILE\n"
    "      prints graph=HEX place=HEX: a hash of what is joined to what, with colours and names, "
    "and\n"
    "      one of where the nodes are, to six digits. Worlds with the same are the same\n"
    "\n"
    "  dump FILE OUT\n"
    "      writes a line or two for each node, as a new text file OUT. A file that is there is "
    "left\n"
    "      alone: OUT must be a name that nothing has\n"
    "\n"
    "  --help\n"
    "      this text\n"
    "\n"
    "  --version\n"
    "      which version this is\n";

static const struct {
    const char* name;
    int (*run)(char** words, int count);
} commands[] = {{"make", command_make},
                {"check", command_check},
                {"info", command_info},
                {"digest", command_digest},
                {"dump", command_dump}};

static int run(int argc, char** argv)
{
    if (tool_answer(help_text, argc, argv)) {
        return EXIT_DONE;
    }
    if (argc < 2) {
        tool_bad("what to do? make, check, info, digest or dump (--help tells more)");
        return EXIT_BAD;
    }
    for (const auto& command : commands) {
        if (std::strcmp(argv[1], command.name) == 0) {
            return command.run(argv + 2, argc - 2);
        }
    }
    tool_bad("unknown command %s (--help lists them)", argv[1]);
    return EXIT_BAD;
}

int main(int argc, char** argv)
{
    return tool_end(run(argc, argv));
}
