#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korvel::platform {

/// Opaque sRGB colour, each channel 0 to 1.
struct Colour {
    double red = 0;
    double green = 0;
    double blue = 0;

    bool operator==(const Colour&) const = default;
};

/// The ink of one run of the title.
enum class TitleInk {
    label,          ///< no colour of its own: what the bar writes its labels in
    secondaryLabel, ///< the bar's quieter label colour
    colour,         ///< `TitleRun::colour`
};

enum class TitleFont {
    system,
    monospacedDigitMedium, ///< digits of one width, medium weight
};

struct TitleRun {
    std::string text;
    double size = 0; ///< points
    TitleFont font = TitleFont::system;
    TitleInk ink = TitleInk::label;
    std::string inkName{}; ///< what the program calls the ink; empty when `ink` is `label`
    Colour colour{};       ///< read only when `ink` is `colour`

    bool operator==(const TitleRun&) const = default;
};

/// The title of the status item: the values that it tells, for a bar that has only room for a
/// picture, and the finished text of them, for one that writes it.
struct StatusTitle {
    std::int64_t score = 0;     ///< 0 to 100
    std::string colourName{};   ///< what the program calls the score's colour
    Colour colour{};            ///< of the score
    bool awake = false;         ///< whether the machine is kept awake
    std::vector<TitleRun> runs; ///< left to right

    /// The runs' texts, joined.
    std::string text() const {
        std::string joined;
        for (const TitleRun& run : runs) {
            joined += run.text;
        }
        return joined;
    }

    bool operator==(const StatusTitle&) const = default;
};

/// A place on the screen: the origin is its top left corner, in points.
struct Rectangle {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
};

/// A place on the screen, counted as a `Rectangle` is.
struct Point {
    double x = 0;
    double y = 0;

    bool operator==(const Point&) const = default;
};

/// What comes along when the user asks for the popover: by a click on the item, by another start of
/// the program, by a click on its notification.
struct ActivationRequest {
    std::optional<Point> place; ///< of the click; nullopt where nobody tells
    /// By which a desktop that guards the keyboard knows that the user asked; empty: none came.
    std::string token{};

    bool operator==(const ActivationRequest&) const = default;
};

/// The program's item in the menu bar or tray. It is there for as long as the object lives, and
/// comes back by itself when the bar does.
class StatusItem {
  public:
    virtual ~StatusItem() = default;

    virtual void setTitle(const StatusTitle& title) = 0;

    /// Plain text shown while the pointer rests on the item, where the bar has no room for a title.
    virtual void setToolTip(const std::string& text) = 0;

    /// The reading in a few words, for a desktop on which the item's menu is what a click opens:
    /// the menu's first entry is called so and opens the popover. Nothing elsewhere.
    virtual void setSummary(const std::string& /*text*/) {}

    using Action = std::function<void(const ActivationRequest& request)>;

    /// What a click on the item does.
    virtual void setAction(Action action) = 0;

    /// What opens the popover and never closes it: the entry of that name in the item's menu.
    // NOLINTNEXTLINE(performance-unnecessary-value-param): an implementation keeps it
    virtual void setOpenAction(Action /*action*/) {}

    /// Runs `work`, which shows at the item what nobody has asked for: at once, unless the item is
    /// still to appear and may be waited for; then once it has appeared, or never. Called once.
    virtual void whenSeen(const std::function<void()>& work) { work(); }

    /// Where the item is; nullopt where the bar does not tell.
    virtual std::optional<Rectangle> frame() const { return std::nullopt; }

    /// Lets clicks of the next `seconds` go unheard: the click that took the focus from a popover,
    /// and so closed it, must not open it again. A bar that hands its clicks to the popover itself
    /// has no need of this, nor of the next.
    virtual void ignoreClicks(double /*seconds*/) {}

    /// The same on a busy machine, where that click may come late: besides, lets clicks of the next
    /// `seconds` go unheard unless `isAnother`, asked when one comes, says that it is a new one.
    // NOLINTNEXTLINE(performance-unnecessary-value-param): an implementation keeps it
    virtual void ignoreLateClick(double /*seconds*/, std::function<bool()> /*isAnother*/) {}
};

/// The panel that opens at the status item.
class Popover {
  public:
    virtual ~Popover() = default;

    /// Opens at the item, or does nothing when it is open.
    virtual void show(StatusItem& item, const ActivationRequest& request) = 0;
    virtual void close() = 0;
    virtual bool shown() const = 0;

    /// Brings the program to the front, over the active one.
    virtual void activate(const ActivationRequest& request) = 0;
    /// Gives the open popover the keyboard.
    virtual void makeKey() = 0;

    /// Has what the open popover says of an update on the screen before this returns, because the
    /// update is about to hold up the main thread. No input and no timer is served meanwhile.
    virtual void drawNow() = 0;
};

/// What a menu item asks for, by the name that a desktop with a responder chain sends along it.
enum class MenuCommand {
    none, ///< a separator's
    checkForUpdates,
    terminate,
    // Of the view that has the keyboard:
    cut,
    copy,
    paste,
    selectAll,
};

struct MenuItem {
    std::string title; ///< empty: a separator
    MenuCommand command = MenuCommand::none;
    std::function<void()> action; ///< does the same; empty: only the toolkit's own views can
    std::string keyEquivalent;    ///< pressed with the platform's command key; empty: none
};

struct Menu {
    std::string title;
    std::vector<MenuItem> items;
};

/// The program's menus; the first is the application's own.
struct MainMenu {
    std::vector<Menu> menus;
};

/// The desktop's menu bar or tray.
class StatusBar {
  public:
    virtual ~StatusBar() = default;

    virtual std::unique_ptr<StatusItem> makeStatusItem() = 0;

    /// Installs the menus. A tray shows the application's own one as the item's context menu.
    virtual void setMainMenu(MainMenu menu) = 0;
};

} // namespace korvel::platform
