#!/bin/sh
# Time of `fluxgrid migrate --out-dir` on FILES old sensor files (1,000 by
# default, copies of an old sample of 23 KB) against `cp` of the same files
# followed by one `sync`, measured side by side in one run: each round times
# the copy and every tool given, in an order that alternates from round to
# round, each step starting from an empty output folder and a synced disk.
# The medians over the rounds (three by default) are compared, because a
# disk's flush time varies from round to round; each tool's ratio to the
# copy is printed with the goal beside it. Exits 1 when the last tool given
# takes more than 1.5 times the copy. Never run by the tests: a figure of
# the machine, not a check of the code.
#
#   bench/migrate_bench.sh [-r ROUNDS] [-n FILES] [-s SAMPLE] TOOL...
#
# Give the tool of an earlier build first to see both figures in one run.
set -eu

rounds=3
count=1000
sample=$(dirname "$0")/../examples/data/sensor-squid-20140513.sensor
while getopts r:n:s: option; do
    case $option in
        r) rounds=$OPTARG ;;
        n) count=$OPTARG ;;
        s) sample=$OPTARG ;;
        *) exit 2 ;;
    esac
done
shift $((OPTIND - 1))
if [ $# -lt 1 ]; then
    echo "usage: $0 [-r ROUNDS] [-n FILES] [-s SAMPLE] TOOL..." >&2
    exit 2
fi

work=$(mktemp -d "${TMPDIR:-/tmp}/migrate-bench.XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir "$work/in"
i=0
while [ "$i" -lt "$count" ]; do
    cp "$sample" "$work/in/channel-$i.sensor"
    i=$((i + 1))
done

now() { date +%s%N; }

# Milliseconds of one step: "cp", or the index of a tool among the arguments.
step() {
    rm -rf "$work/out"
    sync
    start=$(now)
    if [ "$1" = cp ]; then
        cp -r "$work/in" "$work/out"
        sync
    else
        eval "tool=\$tool_$1"
        "$tool" migrate --out-dir "$work/out" "$work"/in/*.sensor >"$work/log" 2>&1 || {
            tail -n 3 "$work/log" >&2
            exit 1
        }
    fi
    echo $((($(now) - start) / 1000000))
}

median() { sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }

steps="cp"
t=1
for tool in "$@"; do
    eval "tool_$t=\$tool"
    steps="$steps $t"
    t=$((t + 1))
done
round=1
while [ "$round" -le "$rounds" ]; do
    order=$steps
    if [ $((round % 2)) -eq 0 ]; then
        order=$(echo "$steps" | awk '{ for (i = NF; i > 0; i--) printf "%s ", $i }')
    fi
    line="round $round:"
    for s in $order; do
        ms=$(step "$s")
        echo "$ms" >>"$work/times-$s"
        line="$line $s=${ms}ms"
    done
    echo "$line"
    round=$((round + 1))
done

copy=$(median <"$work/times-cp")
echo "$count files of $(wc -c <"$sample") bytes, median of $rounds rounds:"
echo "  cp + sync: $copy ms"
t=1
for tool in "$@"; do
    ms=$(median <"$work/times-$t")
    echo "  $tool: $ms ms, ratio migrate / (cp + sync) $(awk "BEGIN { printf \"%.2f\", $ms / $copy }") (goal: at most 1.50)"
    last=$ms
    t=$((t + 1))
done
if awk "BEGIN { exit !($last <= 1.5 * $copy) }"; then
    echo "goal met: the last tool within 1.5 x cp + sync"
else
    echo "goal missed: the last tool over 1.5 x cp + sync"
    exit 1
fi
