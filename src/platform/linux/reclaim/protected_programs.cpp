#include "platform/linux/reclaim/protected_programs.h"

#include <QLatin1String>
#include <algorithm>
#include <array>

namespace halvard {
namespace {

constexpr std::array kDisplayServers{"Hyprland", "Xephyr",      "Xorg",      "Xvfb",        "Xvnc",         "Xwayland",
                                     "cage",     "cosmic-comp", "gamescope", "gnome-shell", "kwin_wayland", "labwc",
                                     "mutter",   "niri",        "phoc",      "river",       "sway",         "wayfire",
                                     "weston",   "X",           "Xtigervnc", "Xtightvnc"};

constexpr std::array kServants{
    // window managers and compositors of X11
    "awesome", "bspwm", "budgie-wm", "cinnamon", "compiz", "compton", "dwm", "enlightenment", "fluxbox", "gala",
    "herbstluftwm", "i3", "icewm", "jwm", "kwin_x11", "marco", "metacity", "muffin", "openbox", "picom", "qtile", "twm",
    "xfwm4", "xmonad",
    // panels and other hosts of tray icons
    "budgie-panel", "lxpanel", "lxqt-panel", "mate-panel", "plasmashell", "polybar", "snixembed", "stalonetray",
    "tint2", "trayer", "waybar", "wrapper-2.0", "xembedsniproxy", "xfce4-panel",
    // sound
    "jackd", "jackdbus", "pipewire", "pipewire-media-session", "pipewire-pulse", "pulseaudio", "wireplumber",
    // input methods
    "fcitx", "fcitx5", "maliit-server", "scim", "uim-xim",
    // what the session stands on
    "at-spi-bus-launcher", "at-spi2-registryd", "dbus-broker", "dbus-broker-launch", "dbus-daemon", "init", "login",
    "sshd", "systemd", "(sd-pam)"};

constexpr std::array kFamilies{"halvard", "ibus-", "scim-", "systemd-"};

template <class Names>
bool contains(const Names& names, const QString& name) {
  return std::ranges::any_of(names, [&](const char* one) { return name == QLatin1String(one); });
}

}  // namespace

bool isDisplayServer(const QString& name) {
  return contains(kDisplayServers, name);
}

bool isProtectedProgram(const QString& name) {
  const auto isOfFamily = [&](const char* beginning) { return name.startsWith(QLatin1String(beginning)); };
  return isDisplayServer(name) || contains(kServants, name) || std::ranges::any_of(kFamilies, isOfFamily);
}

}  // namespace halvard
