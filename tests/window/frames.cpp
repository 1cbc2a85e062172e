#include "tests/window/frames.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <poll.h>
#include <xcb/damage.h>
#include <xcb/xcb.h>

// An ended display must not end the tests, so each wait has a connection of its own, and no errors but
// those it asks for.
using Connection = std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t*)>;
using Event = std::unique_ptr<xcb_generic_event_t, void (*)(void*)>;

struct Watch {
    Connection server;
    xcb_window_t window;
    const std::function<bool()>& going;
};

static Event next_event(const Watch& watch)
{
    while (xcb_connection_has_error(watch.server.get()) == 0) {
        Event event(xcb_poll_for_event(watch.server.get()), std::free);
        if (event != nullptr || !watch.going()) {
            return event;
        }
        pollfd ready = {
            .fd = xcb_get_file_descriptor(watch.server.get()), .events = POLLIN, .revents = 0};
        poll(&ready, 1, 20);
    }
    return {nullptr, std::free};
}

// Reads events until one is the wanted one; an error, as of a window that is no more, ends it.
static bool wait_for(const Watch& watch, const std::function<bool(xcb_generic_event_t*)>& wanted)
{
    for (Event event = next_event(watch); event != nullptr; event = next_event(watch)) {
        if (event->response_type == 0) {
            return false;
        }
        if (wanted(event.get())) {
            return true;
        }
    }
    return false;
}

static xcb_atom_t atom(xcb_connection_t* server, const char* name)
{
    const auto asked =
        xcb_intern_atom(server, 0, static_cast<std::uint16_t>(std::strlen(name)), name);
    xcb_intern_atom_reply_t* const reply = xcb_intern_atom_reply(server, asked, nullptr);
    const xcb_atom_t found =
        reply == nullptr ? static_cast<xcb_atom_t>(XCB_ATOM_NONE) : reply->atom;
    std::free(reply);
    return found;
}

// A window manager asks so whether a program still lives. Input and question come through the same
// pipe in their order, and what the program has drawn leaves it before the answer.
static bool ask(const Watch& watch)
{
    static std::uint32_t number = 0;
    number++;
    xcb_connection_t* const server = watch.server.get();
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(server)).data->root;
    const std::uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(server, root, XCB_CW_EVENT_MASK, &mask);
    xcb_client_message_event_t question = {};
    question.response_type = XCB_CLIENT_MESSAGE;
    question.format = 32;
    question.window = watch.window;
    question.type = atom(server, "WM_PROTOCOLS");
    question.data.data32[0] = atom(server, "_NET_WM_PING");
    question.data.data32[1] = number;
    question.data.data32[2] = watch.window;
    xcb_send_event(server, 0, watch.window, 0, reinterpret_cast<const char*>(&question));
    xcb_flush(server);
    return wait_for(watch, [&](xcb_generic_event_t* event) {
        const auto* const message = reinterpret_cast<xcb_client_message_event_t*>(event);
        return (event->response_type & 0x7F) == XCB_CLIENT_MESSAGE &&
               std::memcmp(message->data.data32, question.data.data32, 12) == 0;
    });
}

static void agree_on_version(xcb_connection_t* server)
{
    const auto asked = xcb_damage_query_version(server, 1, 1);
    std::free(xcb_damage_query_version_reply(server, asked, nullptr));
}

// Waits for a part of the next frame that reaches the window.
static bool wait_for_drawing(const Watch& watch)
{
    xcb_connection_t* const server = watch.server.get();
    const xcb_query_extension_reply_t* const extension =
        xcb_get_extension_data(server, &xcb_damage_id);
    if (extension == nullptr || extension->present == 0) {
        return false;
    }
    agree_on_version(server);
    const xcb_damage_damage_t damage = xcb_generate_id(server);
    xcb_damage_create(server, damage, watch.window, XCB_DAMAGE_REPORT_LEVEL_RAW_RECTANGLES);
    agree_on_version(server); // the whole window is told as drawn at first; that is passed over
    for (Event told(xcb_poll_for_queued_event(server), std::free); told != nullptr;
         told.reset(xcb_poll_for_queued_event(server))) {
        if (told->response_type == 0) {
            return false;
        }
    }
    const int drawn = extension->first_event + XCB_DAMAGE_NOTIFY;
    return wait_for(
        watch, [&](xcb_generic_event_t* event) { return (event->response_type & 0x7F) == drawn; });
}

bool wait_for_seen(Seen wanted, const std::string& display, const std::string& window,
                   const std::function<bool()>& going)
{
    const Watch watch = {.server = {xcb_connect(display.c_str(), nullptr), xcb_disconnect},
                         .window = static_cast<xcb_window_t>(std::stoul(window)),
                         .going = going};
    return xcb_connection_has_error(watch.server.get()) == 0 && ask(watch) &&
           (wanted == INPUT_TAKEN || (wait_for_drawing(watch) && ask(watch)));
}
