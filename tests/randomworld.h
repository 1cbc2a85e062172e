// A nested world that changes at random, by the operations of the graph layer, and stays sound.
#pragma once

#include "model/attachment.h"
#include "model/maze.h"
#include "model/pos.h"
#include "tests/mazes.h"
#include "tests/sound.h"

#include <functional>
#include <random>
#include <string>
#include <vector>

struct RandomWorld {
    World root;
    std::mt19937 engine;
    size_t mostmazes; // no more are nested

    explicit RandomWorld(u32 seed, size_t most = 40)
        : root(make_ring(6)), engine(seed), mostmazes(most)
    {
    }

    i32 below(i32 n)
    {
        return std::uniform_int_distribution<i32>(0, n - 1)(engine);
    }

    f64 real(f64 low, f64 high)
    {
        return std::uniform_real_distribution<f64>(low, high)(engine);
    }

    static void collect(Maze* maze, std::vector<Maze*>* list)
    {
        list->push_back(maze);
        for (i32 i = 0; i < Maze_count(maze); i++) {
            if (Maze_node(maze, i)->sub != nullptr) {
                collect(Maze_node(maze, i)->sub, list);
            }
        }
    }

    std::vector<Maze*> mazes() const
    {
        std::vector<Maze*> list;
        collect(root.get(), &list);
        return list;
    }

    Maze* anymaze()
    {
        const std::vector<Maze*> list = mazes();
        return list[static_cast<size_t>(below(static_cast<i32>(list.size())))];
    }

    MazeNode anynode()
    {
        return MazeNode_fresh(real(-9, 9), real(-9, 9), real(-9, 9), real(0.1, 2));
    }

    // Whether the node can take one more edge, and with it one more port of its submaze.
    static bool takesedge(const Maze* maze, i32 n)
    {
        const MazeNode* const node = Maze_node(maze, n);
        if (node->nedges >= MAZE_MAXEDGES) {
            return false;
        }
        const Maze* const sub = node->sub;
        return sub == nullptr || (sub->nodes.count > node->nedges &&
                                  Maze_node(sub, static_cast<i32>(node->nedges))->sub == nullptr);
    }

    bool join(Maze* maze)
    {
        const i32 a = below(Maze_count(maze));
        const i32 b = below(Maze_count(maze));
        if (a == b || sound_multiplicity(Maze_node(maze, a), b) > 0 || !takesedge(maze, a) ||
            !takesedge(maze, b)) {
            return false;
        }
        Maze_join(maze, a, b);
        return true;
    }

    bool unjoin(Maze* maze)
    {
        const i32 a = below(Maze_count(maze));
        const MazeNode* const node = Maze_node(maze, a);
        if (node->nedges == 0) {
            return false;
        }
        Maze_unjoin(maze, a, node->edges[below(static_cast<i32>(node->nedges))], true);
        return true;
    }

    bool swap(Maze* maze)
    {
        const i32 ports = Maze_ports(maze);
        const i32 a = below(Maze_count(maze));
        const i32 b = below(Maze_count(maze));
        if ((a < ports && Maze_node(maze, b)->sub != nullptr) ||
            (b < ports && Maze_node(maze, a)->sub != nullptr)) {
            return false; // a port holds no submaze
        }
        Maze_swapnodes(maze, a, b);
        return true;
    }

    bool remove(Maze* maze)
    {
        const i32 n = below(Maze_count(maze));
        const i32 last = Maze_count(maze) - 1;
        const i32 ports = Maze_ports(maze);
        if (last < ports || last < 1 || (n < ports && Maze_node(maze, last)->sub != nullptr)) {
            return false;
        }
        Maze_delnode(maze, n, true);
        return true;
    }

    bool nest(Maze* maze)
    {
        const i32 n = below(Maze_count(maze));
        if (n < Maze_ports(maze) || Maze_node(maze, n)->sub != nullptr ||
            mazes().size() >= mostmazes) {
            return false;
        }
        Maze* const sub = make_ring(3 + below(8));
        for (i32 i = 0; i < Maze_count(sub); i++) {
            const MazeNode place = anynode();
            std::copy(place.pos, place.pos + 3, Maze_node(sub, i)->pos);
            Maze_node(sub, i)->radius = place.radius;
        }
        Maze_node(maze, n)->sub = sub;
        sub->parent = maze;
        sub->parentnode = n;
        Maze_fixports(sub);
        Maze_freeflags(maze, ATT_GEOMETRY, below(2) == 0);
        return true;
    }

    bool empty(Maze* maze)
    {
        const i32 n = below(Maze_count(maze));
        MazeNode* const node = Maze_node(maze, n);
        if (node->sub == nullptr) {
            return false;
        }
        Maze_free(node->sub, true);
        node->sub = nullptr;
        Maze_freeflags(maze, ATT_GEOMETRY, false);
        return true;
    }

    bool add(Maze* maze)
    {
        const MazeNode node = anynode();
        Maze_addnode(maze, &node);
        return true;
    }

    bool move(Maze* maze)
    {
        const f64 v[3] = {real(-3, 3), real(-3, 3), real(-3, 3)};
        switch (below(4)) {
        case 0: Maze_translate(maze, v, below(2) == 0); break;
        case 1: Maze_scale(maze, real(0.5, 1.5)); break;
        case 2: Maze_rotate(maze, v); break;
        default:
            Maze_node(maze, below(Maze_count(maze)))->pos[below(3)] += v[0];
            Maze_bounds(maze, below(2) == 0);
            break;
        }
        return true;
    }

    /// Makes one change and returns its name.
    std::string change()
    {
        using Change = bool (RandomWorld::*)(Maze*);
        static constexpr std::pair<const char*, Change> changes[] = {
            {"join", &RandomWorld::join},     {"join", &RandomWorld::join},
            {"unjoin", &RandomWorld::unjoin}, {"swap", &RandomWorld::swap},
            {"add", &RandomWorld::add},       {"add", &RandomWorld::add},
            {"remove", &RandomWorld::remove}, {"nest", &RandomWorld::nest},
            {"nest", &RandomWorld::nest},     {"empty", &RandomWorld::empty},
            {"move", &RandomWorld::move}};
        while (true) {
            const auto& [name, routine] = changes[below(static_cast<i32>(std::size(changes)))];
            if ((this->*routine)(anymaze())) {
                return name;
            }
        }
    }
};
