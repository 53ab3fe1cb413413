#!/usr/bin/env bash
# The three libraries must keep their limits: the domain never reaches the GUI or the
# platform's third-party libraries directly, the platform never reaches the domain, and only
# the window side (ui/) includes or links Qt Widgets, Gui or Svg.
set -u
root=${1:-.}
cd "$root" || exit 2
fail=0
core_dirs="app intake rename processing metadata imaging"
# shellcheck disable=SC2086
hits=$(grep -rnE '#include *[<"](Qt(Gui|Widgets|Svg|SvgWidgets)|Q(Widget|Application|GuiApplication|Pixmap|Image|Painter|Color|Icon|Font|Svg[A-Za-z]*)\b|exiv2|qpdf/|unicode/|plist/|libraw/)' $core_dirs 2>/dev/null)
if [ -n "$hits" ]; then echo "domain code includes GUI or platform-private headers:"; echo "$hits"; fail=1; fi
hits=$(grep -rnE '#include *[<"](Qt(Gui|Widgets|Svg)|Q(Widget|Application|GuiApplication|Pixmap|Image|Painter|Icon)\b)' platform 2>/dev/null)
if [ -n "$hits" ]; then echo "platform code includes GUI headers:"; echo "$hits"; fail=1; fi
hits=$(grep -rnE '#include *"(app|intake|rename|processing|metadata|imaging|ui)/' platform 2>/dev/null)
if [ -n "$hits" ]; then echo "platform code includes domain or screen headers:"; echo "$hits"; fail=1; fi
# shellcheck disable=SC2086
hits=$(grep -rnE '#include *"(ui|app/window)/' $core_dirs platform 2>/dev/null)
if [ -n "$hits" ]; then echo "engine code includes screen headers:"; echo "$hits"; fail=1; fi
if [ -d app/window ]; then echo "the window side lives in ui/, not app/window/"; fail=1; fi
# Only the ui library links the GUI modules (tests and the program get them through it).
hits=$(grep -nE 'target_link_libraries *\((platform|core)\b[^)]*Qt6::(Gui|Widgets|Svg)' CMakeLists.txt 2>/dev/null)
if [ -n "$hits" ]; then echo "an engine library links a GUI module:"; echo "$hits"; fail=1; fi
[ $fail = 0 ] && echo "layering ok"
exit $fail
