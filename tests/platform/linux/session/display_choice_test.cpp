#include "platform/linux/session/display_choice.h"

#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace korvel::platform {

void PrintTo(DisplayChoice choice, std::ostream* out) {
    switch (choice) {
    case DisplayChoice::byQt:
        *out << "byQt";
        break;
    case DisplayChoice::layer:
        *out << "layer";
        break;
    case DisplayChoice::x11:
        *out << "x11";
        break;
    case DisplayChoice::wayland:
        *out << "wayland";
        break;
    }
}

namespace {

using enum DisplayChoice;

struct Row {
    std::string what;
    void (*change)(DisplayFacts&);
    DisplayChoice choice;
};

const WaylandOffer kLayers{.interfaces = {"wl_compositor", "zwlr_layer_shell_v1"}, .outputs = {}};
const WaylandOffer kNoLayers{.interfaces = {"wl_compositor"}, .outputs = {}};

void expectChoices(const DisplayFacts& usual, const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        DisplayFacts facts = usual;
        row.change(facts);
        EXPECT_EQ(chooseDisplay(facts), row.choice) << row.what;
    }
}

TEST(DisplayChoice, IsTheLayerShellWhereItIsOffered) {
    expectChoices(
        {.wayland = kLayers,
         .x11Named = true,
         .waylandPlugin = true,
         .x11Plugin = true,
         .layerBuilt = true,
         .xwaylandFits = true},
        {
            {"all is there", [](DisplayFacts&) {}, layer},
            {"no XWayland", [](DisplayFacts& f) { f.x11Named = false; }, layer},
            {"not built", [](DisplayFacts& f) { f.layerBuilt = false; }, x11},
            {"not built, no XWayland", [](DisplayFacts& f) { f.layerBuilt = f.x11Named = false; },
             wayland},
            {"no plugin for Wayland", [](DisplayFacts& f) { f.waylandPlugin = false; }, x11},
            {"wished for Wayland", [](DisplayFacts& f) { f.popoverWish = "wayland"; }, wayland},
            {"wished for X11", [](DisplayFacts& f) { f.popoverWish = "x11"; }, x11},
            {"wished for X11, which is not there",
             [](DisplayFacts& f) { f.popoverWish = "x11", f.x11Named = false; }, layer},
            {"a wish that nobody knows", [](DisplayFacts& f) { f.popoverWish = "x"; }, layer},
            {"Qt told", [](DisplayFacts& f) { f.qtPlatform = "wayland;xcb"; }, layer},
            {"Qt told of the other", [](DisplayFacts& f) { f.qtPlatform = "xcb"; }, byQt},
            {"Qt told, and a wish against it",
             [](DisplayFacts& f) { f.qtPlatform = "wayland", f.popoverWish = "x11"; }, layer},
            {"Qt told, and a wish within it",
             [](DisplayFacts& f) { f.qtPlatform = "wayland", f.popoverWish = "wayland"; }, wayland},
            {"no compositor answers", [](DisplayFacts& f) { f.wayland.reset(); }, byQt},
        });
}

TEST(DisplayChoice, IsXWaylandWithoutTheLayerShellWhereItFits) {
    expectChoices(
        {.wayland = kNoLayers,
         .x11Named = true,
         .waylandPlugin = true,
         .x11Plugin = true,
         .layerBuilt = true,
         .xwaylandFits = true},
        {
            {"all is there", [](DisplayFacts&) {}, x11},
            {"it does not fit", [](DisplayFacts& f) { f.xwaylandFits = false; }, wayland},
            {"it does not fit, and is wished for",
             [](DisplayFacts& f) { f.xwaylandFits = false, f.popoverWish = "x11"; }, x11},
            {"it does not fit, and there is nothing else",
             [](DisplayFacts& f) { f.xwaylandFits = f.waylandPlugin = false; }, x11},
            {"no XWayland", [](DisplayFacts& f) { f.x11Named = false; }, wayland},
            {"no plugin for it", [](DisplayFacts& f) { f.x11Plugin = false; }, wayland},
            {"no plugin at all", [](DisplayFacts& f) { f.waylandPlugin = f.x11Plugin = false; },
             byQt},
            {"wished for the layer shell", [](DisplayFacts& f) { f.popoverWish = "layer"; }, x11},
        });
}

} // namespace
} // namespace korvel::platform
