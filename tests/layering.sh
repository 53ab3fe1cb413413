#!/usr/bin/env bash
# The three libraries must keep their limits: the domain never reaches the GUI or the
# platform's third-party libraries directly, and the platform never reaches the domain.
set -u
root=${1:-.}
cd "$root" || exit 2
fail=0
core_dirs="app/*.h app/*.cpp intake rename processing metadata imaging"
# shellcheck disable=SC2086
hits=$(grep -rnE '#include *[<"](Qt(Gui|Widgets)|Q(Widget|Application|Pixmap|Image|Painter|Color)\b|exiv2|qpdf/|unicode/|plist/|libraw/)' $core_dirs 2>/dev/null)
if [ -n "$hits" ]; then echo "domain code includes GUI or platform-private headers:"; echo "$hits"; fail=1; fi
hits=$(grep -rnE '#include *"(app|intake|rename|processing|metadata|imaging|ui)/' platform 2>/dev/null)
if [ -n "$hits" ]; then echo "platform code includes domain or screen headers:"; echo "$hits"; fail=1; fi
hits=$(grep -rnE '#include *"(ui|app/window)/' $core_dirs platform 2>/dev/null)
if [ -n "$hits" ]; then echo "engine code includes screen headers:"; echo "$hits"; fail=1; fi
[ $fail = 0 ] && echo "layering ok"
exit $fail
