#!/bin/sh
# process_cost.sh: what the plug-in's process costs per second of audio.
#
# Renders a file (or the demo phrase) through the built module with
# corvane-render several times and prints, from the fastest run, the time
# the plug-in's process calls took per second of audio and its share of one
# core. Only the process calls are timed: loading, reading and writing the
# files are not. Any other real-time effect rendered offline the same way,
# timing its process calls alone, gives a figure to compare on the same
# machine.
set -eu

usage() {
    cat <<'TEXT'
usage: bench/process_cost.sh [--build DIR] [--runs N] [IN.wav] [-- corvane-render options]

  --build DIR   the build folder holding tools/render/corvane-render and
                the bundle (default: build)
  --runs N      renders to take the fastest of (default: 5)
  IN.wav        the audio to render; without it the demo phrase (8 s)
  after --      options passed on to corvane-render, for instance
                --set "Use Formants=0" or --set "Retune Speed=0"
TEXT
}

build=build
runs=5
input=
while [ $# -gt 0 ]; do
    case "$1" in
    --help) usage; exit 0 ;;
    --build) [ $# -ge 2 ] || { echo "process_cost.sh: --build needs a folder" >&2; exit 2; }; build=$2; shift 2 ;;
    --runs) [ $# -ge 2 ] || { echo "process_cost.sh: --runs needs a count" >&2; exit 2; }; runs=$2; shift 2 ;;
    --) shift; break ;;
    -*) echo "process_cost.sh: unknown option $1 (see --help)" >&2; exit 2 ;;
    *) input=$1; shift ;;
    esac
done
case "$runs" in '' | *[!0-9]* | 0) echo "process_cost.sh: --runs takes a whole number above 0" >&2; exit 2 ;; esac

render="$build/tools/render/corvane-render"
bundle="$build/Corvane+Time_VST.vst3"
[ -x "$render" ] || { echo "process_cost.sh: no corvane-render in $build (build it first)" >&2; exit 1; }
[ -z "$input" ] || [ -r "$input" ] || { echo "process_cost.sh: cannot read $input" >&2; exit 1; }

out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT

best=
seconds=
i=0
while [ "$i" -lt "$runs" ]; do
    i=$((i + 1))
    # corvane-render prints "real-time factor: F (A s of audio in W s)",
    # W the time of the process calls alone.
    line=$("$render" --plugin "$bundle" "$@" $input "$out/out.wav" | grep '^real-time factor:')
    audio=$(echo "$line" | sed -n 's/.*(\([0-9.]*\) s of audio in \([0-9.]*\) s).*/\1/p')
    wall=$(echo "$line" | sed -n 's/.*(\([0-9.]*\) s of audio in \([0-9.]*\) s).*/\2/p')
    [ -n "$wall" ] || { echo "process_cost.sh: corvane-render gave no timing" >&2; exit 1; }
    seconds=$audio
    if [ -z "$best" ] || awk "BEGIN { exit !($wall < $best) }"; then best=$wall; fi
done

awk -v audio="$seconds" -v wall="$best" -v runs="$runs" 'BEGIN {
    ms = 1000.0 * wall / audio
    printf "%.3f s of audio, fastest of %d runs: %.3f ms of process per second of audio, %.3f %% of one core\n", audio, runs, ms, ms / 10.0
}'
