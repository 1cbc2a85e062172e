// The two ways of naming the mazes of a tree.
#pragma once

#include "model/maze.h"

/// Names all submazes by counting: the c-th of a named maze is its name, ".", "%02d" of c; of an
/// unnamed one "%d" of c. Earlier names of the submazes are freed.
void Maze_numbersubs(Maze* maze);

/// Names a tree by paths: a maze whose parent has a name gets that name, ".", and its own name, from
/// the root down.
void Maze_pathnames(Maze* maze);
