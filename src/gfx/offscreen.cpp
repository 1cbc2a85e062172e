#include "gfx/offscreen.h"

#include "gfx/gfx_opengl.h"
#include "gfx/textures.h"

#include <GL/gl.h>
#include <GL/glext.h>

i32 have_framebuffers = -1;

struct FramebufferCalls {
    PFNGLGENFRAMEBUFFERSPROC GenFramebuffers;
    PFNGLDELETEFRAMEBUFFERSPROC DeleteFramebuffers;
    PFNGLBINDFRAMEBUFFERPROC BindFramebuffer;
    PFNGLCHECKFRAMEBUFFERSTATUSPROC CheckFramebufferStatus;
    PFNGLFRAMEBUFFERRENDERBUFFERPROC FramebufferRenderbuffer;
    PFNGLGENRENDERBUFFERSPROC GenRenderbuffers;
    PFNGLDELETERENDERBUFFERSPROC DeleteRenderbuffers;
    PFNGLBINDRENDERBUFFERPROC BindRenderbuffer;
    PFNGLRENDERBUFFERSTORAGEPROC RenderbufferStorage;
};
static FramebufferCalls calls; // written by findcalls, at the first picture

// The picture that is being drawn. Written by offscreen_begin and offscreen_end.
static GLuint framebuffer; // 0: the picture is drawn into what was current
static GLint framebuffer_before;
static GLuint renderbuffers[2];
static i32 picture_width, picture_height;
static i32 window_width, window_height;

template <typename T> static bool find(T* call, const char* name)
{
    *call = reinterpret_cast<T>(platform->glproc(name));
    return *call != nullptr;
}

static bool findcalls()
{
    return find(&calls.GenFramebuffers, "glGenFramebuffers") &&
           find(&calls.DeleteFramebuffers, "glDeleteFramebuffers") &&
           find(&calls.BindFramebuffer, "glBindFramebuffer") &&
           find(&calls.CheckFramebufferStatus, "glCheckFramebufferStatus") &&
           find(&calls.FramebufferRenderbuffer, "glFramebufferRenderbuffer") &&
           find(&calls.GenRenderbuffers, "glGenRenderbuffers") &&
           find(&calls.DeleteRenderbuffers, "glDeleteRenderbuffers") &&
           find(&calls.BindRenderbuffer, "glBindRenderbuffer") &&
           find(&calls.RenderbufferStorage, "glRenderbufferStorage");
}

static bool framebuffersthere()
{
    if (have_framebuffers == -1) {
        have_framebuffers = gl_hasextension("GL_ARB_framebuffer_object") ? 1 : 0;
    }
    if (have_framebuffers != 0 && calls.RenderbufferStorage == nullptr) { // the last one found
        have_framebuffers = findcalls() ? 1 : 0;
    }
    return have_framebuffers != 0;
}

static void addrenderbuffer(GLuint name, GLenum format, GLenum attachment)
{
    calls.BindRenderbuffer(GL_RENDERBUFFER, name);
    calls.RenderbufferStorage(GL_RENDERBUFFER, format, picture_width, picture_height);
    calls.FramebufferRenderbuffer(GL_FRAMEBUFFER, attachment, GL_RENDERBUFFER, name);
}

static void deleteframebuffer()
{
    calls.BindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(framebuffer_before));
    calls.DeleteFramebuffers(1, &framebuffer);
    calls.DeleteRenderbuffers(2, renderbuffers);
    framebuffer = 0;
}

// False if the driver refuses this size.
static bool makeframebuffer()
{
    GLint most = 0;
    glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &most);
    if (picture_width > most || picture_height > most) {
        return false;
    }
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &framebuffer_before);
    calls.GenFramebuffers(1, &framebuffer);
    calls.BindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    calls.GenRenderbuffers(2, renderbuffers);
    addrenderbuffer(renderbuffers[0], GL_RGBA8, GL_COLOR_ATTACHMENT0);
    addrenderbuffer(renderbuffers[1], GL_DEPTH_COMPONENT24, GL_DEPTH_ATTACHMENT);
    calls.BindRenderbuffer(GL_RENDERBUFFER, 0);
    if (calls.CheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE) {
        return true;
    }
    deleteframebuffer();
    return false;
}

// What is drawn may have changed the masks, which clearing heeds, and the colour.
static void clearpicture(i32 bottom)
{
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glDepthMask(GL_TRUE);
    glClearColor(0, 0, 0, 0);
    glScissor(0, bottom, picture_width, picture_height);
    glEnable(GL_SCISSOR_TEST);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glDisable(GL_SCISSOR_TEST);
}

void offscreen_begin(i32 width, i32 height, i32* bottom)
{
    picture_width = width;
    picture_height = height;
    window_width = gfx_width;
    window_height = gfx_height;
    glPushAttrib(GL_VIEWPORT_BIT | GL_POLYGON_BIT | GL_SCISSOR_BIT | GL_COLOR_BUFFER_BIT |
                 GL_DEPTH_BUFFER_BIT);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    *bottom = gfx_height - height;
    if (framebuffersthere() && makeframebuffer()) {
        gfx_width = width;
        gfx_height = height;
        *bottom = 0;
    }
    glViewport(0, 0, gfx_width, gfx_height);
    clearpicture(*bottom);
}

void offscreen_end()
{
    if (framebuffer != 0) {
        deleteframebuffer();
    } else {
        clearpicture(gfx_height - picture_height);
    }
    gfx_width = window_width;
    gfx_height = window_height;
    glPopAttrib();
}
