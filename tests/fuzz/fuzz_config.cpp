// Any text reads as settings, which can be asked, completed and written, and read back the same.
#include "base/wholefile.h"
#include "gfx/gfx_opengl.h"
#include "shell/config.h"
#include "tests/fuzz/fuzz.h"

static bool sametext(const char* a, const char* b)
{
    return std::strcmp(a != nullptr ? a : "", b != nullptr ? b : "") == 0;
}

static void ask(ConfigList* list)
{
    i32 mode;
    i32 swap;
    gfx_width = gfx_height = fullscreen_x = fullscreen_y = 0;
    config_default(list, "Windowed (Y/N)", "Y");
    config_get_bool(list, "Windowed");
    config_read_display_and_stereo(list, &mode, &swap);
    const i32 offsets[] = {fullscreen_x, fullscreen_y};
    for (const i32 offset : offsets) {
        fuzz_claim(offset >= -CONFIG_MAXPIXELS && offset <= CONFIG_MAXPIXELS, "offsets are held");
    }
    fuzz_claim(swap == 0 || swap == 1, "a switch is 0 or 1");
    config_set(list, "Stereo mode", "7");
    config_set(list, "Windowed", config_get(list, "Resolution", nullptr));
    config_set_bool(list, "Swap stereo", swap);
}

static void writeandread(const ConfigList* list)
{
    char why[WHOLEFILE_WHY];
    fuzz_claim(config_save(list, fuzz_file(), ':', why), why);
    ConfigList again;
    config_load(&again, fuzz_file(), ':');
    fuzz_claim(again.entries.count == list->entries.count, "as many entries come back");
    const ConfigEntry* const before = items<ConfigEntry>(&list->entries);
    const ConfigEntry* const after = items<ConfigEntry>(&again.entries);
    for (u32 i = 0; i < list->entries.count; i++) {
        fuzz_claim(sametext(before[i].key, after[i].key), "a key comes back");
        fuzz_claim(sametext(before[i].value, after[i].value), "a value comes back");
    }
    config_free(&again);
}

int LLVMFuzzerTestOneInput(const unsigned char* bytes, size_t size)
{
    ConfigList list;
    config_parse(&list, reinterpret_cast<const char*>(bytes), size, ':');
    writeandread(&list);
    ask(&list);
    writeandread(&list);
    config_free(&list);
    return 0;
}
