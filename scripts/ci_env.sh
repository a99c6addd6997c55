# Headless desktop session for the tests: X server, D-Bus, AT-SPI, Secret Service,
# PulseAudio with a virtual microphone and speaker, and a tray host.
#   source scripts/ci_env.sh; ci_start; <run tests>; ci_stop
# Every process is started in the background with its PID recorded; ci_stop kills exactly
# those PIDs, in reverse order. Nothing is killed by name.

_ci_bg() { # [CI_STDIN=file] _ci_bg NAME CMD... : start in background, record PID
    local name=$1
    shift
    "$@" <"${CI_STDIN:-/dev/null}" >"$CI_ROOT/log/$name.log" 2>&1 &
    echo "$! $name" >>"$CI_ROOT/pids"
}

_ci_wait() { # _ci_wait WHAT CMD... : poll up to 10 s
    local what=$1 i
    shift
    for i in $(seq 200); do
        "$@" >/dev/null 2>&1 && return 0
        sleep 0.05
    done
    echo "ci_start: $what did not come up (logs in $CI_ROOT/log)" >&2
    return 1
}

_ci_ms() { echo $((($(date +%s%N) - $1) / 1000000)); }

_ci_free_display() {
    local n
    for n in $(seq 99 160); do
        [ -e "/tmp/.X11-unix/X$n" ] || [ -e "/tmp/.X$n-lock" ] || { echo ":$n"; return 0; }
    done
    return 1
}

ci_start() {
    local t0 t
    t0=$(date +%s%N)
    CI_ROOT=${CI_ROOT:-$(mktemp -d /tmp/ovrin-test.XXXXXX)}
    export CI_ROOT
    mkdir -p "$CI_ROOT"/{home,run,dbus,log}
    chmod 700 "$CI_ROOT/run"
    : >"$CI_ROOT/pids"
    # Every daemon keeps its state inside CI_ROOT (pulse cookie, keyrings, Qt caches).
    export HOME=$CI_ROOT/home XDG_RUNTIME_DIR=$CI_ROOT/run
    export XDG_CONFIG_HOME=$HOME/.config XDG_CACHE_HOME=$HOME/.cache XDG_DATA_HOME=$HOME/.local/share
    DISPLAY=${CI_DISPLAY:-$(_ci_free_display)} || { echo "ci_start: no free X display" >&2; return 1; }
    export DISPLAY QT_QPA_PLATFORM=xcb QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
    # Set before any Qt/GTK program starts, or a stray bus is autolaunched.
    export DBUS_SESSION_BUS_ADDRESS=unix:path=$CI_ROOT/dbus/bus

    t=$(date +%s%N)
    _ci_bg xvfb Xvfb "$DISPLAY" -screen 0 1280x800x24 -nolisten tcp
    _ci_wait Xvfb xdpyinfo || return 1
    echo "Xvfb $DISPLAY: $(_ci_ms "$t") ms"

    t=$(date +%s%N)
    _ci_bg dbus dbus-daemon --session --nofork --nopidfile --address="$DBUS_SESSION_BUS_ADDRESS"
    _ci_wait dbus dbus-send --session --dest=org.freedesktop.DBus --print-reply / org.freedesktop.DBus.ListNames || return 1
    echo "dbus: $(_ci_ms "$t") ms"

    t=$(date +%s%N)
    _ci_bg atspi-bus /usr/libexec/at-spi-bus-launcher --launch-immediately
    _ci_wait at-spi-bus dbus-send --session --dest=org.a11y.Bus --print-reply /org/a11y/bus org.a11y.Bus.GetAddress || return 1
    _ci_bg atspi-registry /usr/libexec/at-spi2-registryd
    echo "at-spi: $(_ci_ms "$t") ms"

    # The login keyring is created and unlocked with a throwaway password.
    t=$(date +%s%N)
    printf ci-password >"$CI_ROOT/keyring-pass"
    CI_STDIN=$CI_ROOT/keyring-pass _ci_bg keyring gnome-keyring-daemon --foreground --unlock --components=secrets
    _ci_wait gnome-keyring sh -c 'dbus-send --session --dest=org.freedesktop.DBus --print-reply / org.freedesktop.DBus.NameHasOwner string:org.freedesktop.secrets | grep -q "boolean true"' || return 1
    echo "gnome-keyring: $(_ci_ms "$t") ms"

    # Two null sinks: "speaker", the default output (what the computer plays), and "micfeed",
    # what the microphone hears: the default source "testmic" is remapped from its monitor
    # (a real source, not a monitor, so it is listed as an input). Speech for the microphone
    # goes into micfeed, sound the computer plays into speaker, and a test can tell them apart.
    # speaker is loaded first, so it is the first-listed output as well as the default one.
    t=$(date +%s%N)
    cat >"$CI_ROOT/pa.pa" <<'PA'
load-module module-native-protocol-unix auth-anonymous=1
load-module module-null-sink sink_name=speaker format=float32le rate=48000 channels=1 sink_properties=device.description=TestSpeaker
load-module module-null-sink sink_name=micfeed format=float32le rate=48000 channels=1 sink_properties=device.description=TestMicFeed
load-module module-remap-source source_name=testmic master=micfeed.monitor source_properties=device.description=TestMic
set-default-sink speaker
set-default-source testmic
PA
    _ci_bg pulseaudio pulseaudio --daemonize=no --exit-idle-time=-1 -n -F "$CI_ROOT/pa.pa"
    _ci_wait pulseaudio pactl info || return 1
    # Without a stream keeping a sink busy, capture from its monitor stalls at random.
    local sink
    for sink in micfeed speaker; do
        CI_STDIN=/dev/zero _ci_bg "pa-keepalive-$sink" pacat --playback -d "$sink" --raw --format=float32le --channels=1 --rate=48000 --latency-msec=50
    done
    # The first capture only gets as much audio as time has passed since the server started.
    sleep "${CI_PA_SETTLE:-2}"
    echo "pulseaudio: $(_ci_ms "$t") ms (incl. ${CI_PA_SETTLE:-2} s settle)"

    t=$(date +%s%N)
    _ci_bg trayer trayer --edge top --align right --widthtype pixel --width 200 --height 24
    _ci_wait trayer xdotool search --classname trayer || return 1
    echo "trayer: $(_ci_ms "$t") ms"

    if [ "${CI_COMPOSITOR:-0}" = 1 ]; then _ci_bg xcompmgr xcompmgr; fi
    ci_start_wayland || return 1
    echo "ci_start total: $(_ci_ms "$t0") ms (logs in $CI_ROOT/log)"
}

# A headless Wayland desktop beside the X server, for the tests of the Wayland rungs: sway
# with its headless backend and XWayland. Measured on Debian 12: sway starts in about 0.1 s
# every time and offers virtual keyboards, data control and screencopy. weston's headless
# backend offers neither virtual keyboards nor data control. `mutter --headless --wayland
# --virtual-monitor 1280x800` starts (XWayland on demand) but its seat has no keyboard, so
# no client ever has focus and neither paste nor the clipboard can be tried there; no
# client can add a keyboard to it either. kwin_wayland is not packaged for this test
# machine's set. sway refuses to run as root, so as root it
# runs in a user namespace where it is an ordinary user (files it makes still belong to root
# outside, so our root-run clients reach them). Nothing is exported as WAYLAND_DISPLAY:
# the other tests stay on X. Tests find it through OVRIN_TEST_WAYLAND_* instead.
ci_start_wayland() {
    command -v sway >/dev/null || { echo "sway not installed: no Wayland desktop for the tests"; return 0; }
    local t dir=$CI_ROOT/wayland
    t=$(date +%s%N)
    mkdir -p "$dir/run"
    chmod 700 "$dir/run"
    cat >"$dir/sway.conf" <<SWAY
xwayland enable
output HEADLESS-1 resolution 1280x800 position 0 0
default_border none
focus_on_window_activation focus
exec env > $dir/session.env.tmp && mv $dir/session.env.tmp $dir/session.env
SWAY
    local namespace=()
    [ "$(id -u)" -ne 0 ] || namespace=(unshare --user --map-user=1000 --map-group=1000)
    _ci_bg sway env -u WAYLAND_DISPLAY -u DISPLAY XDG_RUNTIME_DIR="$dir/run" WLR_BACKENDS=headless \
        WLR_LIBINPUT_NO_DEVICES=1 WLR_RENDERER=pixman XDG_CURRENT_DESKTOP=sway \
        "${namespace[@]}" sway -c "$dir/sway.conf"
    _ci_wait sway test -s "$dir/session.env" || return 1
    export OVRIN_TEST_WAYLAND_RUNTIME=$dir/run
    OVRIN_TEST_WAYLAND_DISPLAY=$(sed -n 's/^WAYLAND_DISPLAY=//p' "$dir/session.env")
    OVRIN_TEST_XWAYLAND_DISPLAY=$(sed -n 's/^DISPLAY=//p' "$dir/session.env")
    OVRIN_TEST_SWAYSOCK=$(sed -n 's/^SWAYSOCK=//p' "$dir/session.env")
    export OVRIN_TEST_WAYLAND_DISPLAY OVRIN_TEST_XWAYLAND_DISPLAY OVRIN_TEST_SWAYSOCK
    echo "sway $OVRIN_TEST_WAYLAND_DISPLAY (XWayland $OVRIN_TEST_XWAYLAND_DISPLAY): $(_ci_ms "$t") ms"
}

ci_stop() {
    [ -n "${CI_ROOT:-}" ] && [ -f "$CI_ROOT/pids" ] || return 0
    local pid name
    tac "$CI_ROOT/pids" | while read -r pid name; do
        kill "$pid" 2>/dev/null || true
        # Give each a moment, so a bus or display is not pulled from under its clients.
        for _ in 1 2 3 4 5 6 7 8 9 10; do kill -0 "$pid" 2>/dev/null || break; sleep 0.05; done
    done
    : >"$CI_ROOT/pids"
}
