// A layer between the program and OpenGL that counts calls and records vertices. The routines in
// gl_count.cpp, linked into a test or benchmark program, take the place of the library's by their
// names and hand each call on.
#pragma once

#include "gfx/gl/shaderprocs.h"

#include <map>
#include <set>
#include <string>
#include <vector>

struct GlVertex {
    f32 pos[4], tex[4], colour[4], normal[3];
};

struct GlCount {
    bool forward = true; // calls reach OpenGL
    bool record = false; // vertices are kept
    std::map<std::string, i32> calls;
    std::vector<GlVertex> vertices;
    std::vector<GLenum> kinds; // of the batches, with `record`
    GlVertex now = {};
    i32 openbatches = 0;                            // glBegin less glEnd
    void (*drawing)(const char* routine) = nullptr; // told before each glBegin and glCallList
    GLenum hiddenerror = GL_NO_ERROR; // one that the sea would have cleared with its own

    i32 total() const
    {
        i32 sum = 0;
        for (const auto& [name, n] : calls) {
            sum += n;
        }
        return sum;
    }
};

inline GlCount gl_count;
inline std::set<std::string> gl_counted; // names of the routines that are counted
inline thread_local i32 gl_depth;        // above 0 inside a call

struct GlCall {
    explicit GlCall(const char* name)
    {
        gl_depth++;
        gl_count.calls[name]++;
    }
    ~GlCall()
    {
        gl_depth--;
    }
    GlCall(const GlCall&) = delete;
    GlCall& operator=(const GlCall&) = delete;
};

template <auto member> struct GlEntry;
template <typename Result, typename... Args, Result (*GlEntryPoints::*member)(Args...)>
struct GlEntry<member> {
    static inline Result (*next)(Args...);
    static Result call(Args... args)
    {
        const GlCall counted("entry point");
        return next(args...);
    }
    static void install()
    {
        if (gl_entry_points.*member != call) {
            next = gl_entry_points.*member;
            gl_entry_points.*member = call;
        }
    }
};

/// Counts the entry points too that a pass of a plot calls. Call after they are loaded.
inline void gl_count_entries()
{
    GlEntry<&GlEntryPoints::UseProgram>::install();
    GlEntry<&GlEntryPoints::GetUniformLocation>::install();
    GlEntry<&GlEntryPoints::Uniform1f>::install();
    GlEntry<&GlEntryPoints::Uniform3f>::install();
    GlEntry<&GlEntryPoints::Uniform3fv>::install();
    GlEntry<&GlEntryPoints::Uniform1i>::install();
    GlEntry<&GlEntryPoints::Uniform2i>::install();
    GlEntry<&GlEntryPoints::UniformMatrix4fv>::install();
    GlEntry<&GlEntryPoints::ActiveTexture>::install();
}
