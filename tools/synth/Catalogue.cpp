#include "tools/synth/Catalogue.h"

#include <iterator>

namespace {

constexpr unsigned in(Situation situation) {
    return 1U << situation;
}

constexpr unsigned AT_HOME = in(WAKING) | in(EVENING) | in(BED);
constexpr unsigned OUT = in(COMMUTE) | in(LEISURE);
constexpr unsigned PAUSES = in(COMMUTE) | in(BREAK) | in(BED);
constexpr unsigned FREE = in(EVENING) | in(LEISURE);
constexpr unsigned OFFICE = in(WORK);
constexpr unsigned ANYWHERE = AT_HOME | OUT | OFFICE | in(BREAK);

struct Entry {
    const char* word;
    unsigned situations;
};

constexpr Entry ENTRIES[] = {
    {"chat", ANYWHERE},
    {"browser", FREE | OFFICE | in(BREAK)},
    {"social", PAUSES | in(EVENING)},
    {"mail", OFFICE | in(WAKING) | in(BREAK)},
    {"video", FREE | in(BED)},
    {"camera", in(LEISURE)},
    {"texts", ANYWHERE},
    {"phone", OUT | OFFICE},
    {"music", in(COMMUTE) | FREE},
    {"maps", OUT},
    {"gallery", FREE},
    {"clock", in(WAKING) | in(BED)},
    {"weather", in(WAKING) | in(LEISURE)},
    {"news", in(WAKING) | PAUSES},
    {"calendar", OFFICE | in(WAKING)},
    {"team", OFFICE},
    {"series", in(EVENING) | in(BED)},
    {"notes", OFFICE},
    {"shop", FREE},
    {"bank", in(BREAK)},
    {"podcast", in(COMMUTE)},
    {"puzzle", PAUSES},
    {"settings", ANYWHERE},
    {"contacts", OFFICE},
    {"store", FREE},
    {"forum", PAUSES},
    {"books", in(COMMUTE) | in(BED)},
    {"train", in(COMMUTE)},
    {"wallet", OUT},
    {"fitness", in(LEISURE)},
    {"tasks", OFFICE},
    {"files", OFFICE},
    {"football", FREE},
    {"recipes", in(EVENING)},
    {"steps", in(WAKING) | in(LEISURE)},
    {"meeting", OFFICE},
    {"radio", in(WAKING) | in(COMMUTE)},
    {"home", AT_HOME},
    {"bus", in(COMMUTE)},
    {"photoedit", FREE},
    {"sleep", in(BED) | in(WAKING)},
    {"travel", in(LEISURE)},
    {"translate", OUT},
    {"cards", PAUSES},
    {"sheets", OFFICE},
    {"calculator", OFFICE},
    {"words", in(BED)},
    {"drive", OFFICE},
    {"auctions", FREE},
    {"chess", PAUSES},
    {"racing", FREE},
    {"office", OFFICE},
    {"parking", OUT},
    {"farm", in(BED) | in(COMMUTE)},
    {"comics", in(BED)},
    {"bicycle", in(LEISURE)},
    {"school", OFFICE},
    {"scanner", OFFICE},
    {"hotels", in(LEISURE)},
    {"torch", in(EVENING)},
    {"garden", in(LEISURE)},
    {"compass", in(LEISURE)},
};

static_assert(std::size(ENTRIES) == CATALOGUE_SIZE);

}  // namespace

std::string catalogueName(uint64_t app) {
    std::string name = std::string("com.example.") + ENTRIES[app % CATALOGUE_SIZE].word;
    if (app >= CATALOGUE_SIZE) name += std::to_string(app / CATALOGUE_SIZE + 1);
    return name;
}

bool catalogueSuits(uint64_t app, Situation situation) {
    return (ENTRIES[app % CATALOGUE_SIZE].situations & in(situation)) != 0;
}
