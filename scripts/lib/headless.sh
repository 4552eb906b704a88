# Sourced (not run) by the scripts that run the player, its tests or its benchmarks without a
# desktop: a virtual X server for the windows (OpenGL through Mesa, QtWebEngine) and a private
# PulseAudio server whose null sink takes the sound at real time.
#
#   . scripts/lib/headless.sh
#   kv_start_audio_sink          # once; stopped by an EXIT trap
#   kv_headless CMD [ARGS...]    # CMD under a virtual X server
#
# The screen of the virtual X server: room for the 1280 x 720 window and full screen.
KV_SCREEN="-screen 0 1920x1080x24"

# QtWebEngine cannot start its sandbox as root.
if [ "$(id -u)" -eq 0 ]; then
    export QTWEBENGINE_DISABLE_SANDBOX=1
fi

kv_audio_runtime_dir=
kv_audio_pid=

kv_stop_audio_sink() {
    if [ -n "$kv_audio_pid" ]; then
        kill "$kv_audio_pid" 2>/dev/null || true
    fi
    if [ -n "$kv_audio_runtime_dir" ]; then
        rm -rf "$kv_audio_runtime_dir"
    fi
}

# Starts the private PulseAudio server in a fresh 0700 runtime folder; Qt's default output device
# is then its null sink (44.1 kHz, 16-bit stereo). Without it playback is silent and the audio
# tests report a missing device.
kv_start_audio_sink() {
    kv_audio_runtime_dir=$(mktemp -d)
    chmod 700 "$kv_audio_runtime_dir"
    export XDG_RUNTIME_DIR=$kv_audio_runtime_dir
    trap kv_stop_audio_sink EXIT
    if pulseaudio -D --exit-idle-time=-1 --disallow-exit -n \
            --load="module-null-sink sink_name=nullsink" \
            --load="module-native-protocol-unix" >/dev/null 2>&1; then
        kv_audio_pid=$(cat "$kv_audio_runtime_dir/pulse/pid" 2>/dev/null || true)
    else
        echo "headless: PulseAudio did not start; there is no audio device" >&2
    fi
}

kv_headless() {
    xvfb-run -a -s "$KV_SCREEN" "$@"
}
