// The names of mazes, and the two ways of naming those of a tree.
#pragma once

#include "model/maze.h"

/// The name of a submaze by a number: an owned text of the maze's name, a point, and the number with two
/// digits or more. Trusts that the maze has a name.
char* Maze_subname(const Maze* maze, i32 number);

/// Names all submazes by counting: the c-th of a named maze is its name, ".", "%02d" of c; of an
/// unnamed one "%d" of c. Earlier names of the submazes are freed.
void Maze_numbersubs(Maze* maze);

/// Names a tree by paths: a maze whose parent has a name gets that name, ".", and its own name, from
/// the root down.
void Maze_pathnames(Maze* maze);
