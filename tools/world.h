// The commands of corvane-world, and what they share. Each gives the exit code of the program.
#pragma once

#include "model/gamerec.h"
#include "model/savelayout.h"
#include "tool.h"

enum { EXIT_UNSOUND = 1 };

/// Names a maze by the node numbers that lead to it from the root: "root maze", "maze 1/17".
void nameplace(const Maze* maze, char out[SAVE_PLACE]);

/// Writes graph=HEX place=HEX to standard output, without ending the line.
void printdigest(const Maze* root);

/// Makes a world as the options in `words` say, of which there are `count`.
int command_make(char** words, int count);

/// The other commands take one file, and dump the one that it makes.
int command_check(char** words, int count);
int command_info(char** words, int count);
int command_digest(char** words, int count);
int command_dump(char** words, int count);
