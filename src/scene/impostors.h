// True spheres and cylinders, a quad each: the quad holds centre and radius, and its shape is ray-traced
// in the fragment stage, so a list of them stays valid from any viewpoint.
#pragma once

#include "base/types.h"

/// The programs, made on first use; 0 where programs can't be made.
u32 sphere_program();       // lit
u32 sphere_program_unlit(); // in its own colour, under fog that goes to black
u32 cylinder_program();     // lit, with open ends

/// A batch of quads of one kind, drawn, or compiled into the list that is open, by impostors_end. Not to
/// be nested.
void impostors_begin();
void impostors_end();

/// Adds a sphere to the batch. `colour` is 0xRRGGBB as it is drawn; alpha is 255.
void impostor_sphere(u32 colour, const f64 centre[3], f64 radius);

/// Adds a cylinder from `start` to `start` + `axis`. An axis of no length in single precision draws
/// nothing. It looks the same, to the last bit of its depths, as that from the other end back to `start`.
void impostor_cylinder(u32 colour, const f64 start[3], const f64 axis[3], f64 radius);

/// The same for one that is painted over by a later one of its batch, on the same place and in the same
/// colour, such as an edge as its other end sees it: it is in the list, and the vertex stage throws it
/// away, which changes nothing in the picture.
void impostor_cylinder_twin(u32 colour, const f64 start[3], const f64 axis[3], f64 radius);
