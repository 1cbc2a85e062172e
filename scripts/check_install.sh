#!/usr/bin/env bash
# check_install.sh BUILD: installs a build into a folder of its own and fails if a file is missing or too
# much, if a checker of desktop files, metainfo or manuals has anything to say, if --help and manual
# of a tool name different options, or if a tool or the launcher does not work from there.
set -euo pipefail
build=$(cd "$1" && pwd)
cd "$(dirname "${BASH_SOURCE[0]}")/.."

PATH=$PATH:/usr/sbin # makewhatis
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

fail() {
    echo "check_install: $1" >&2
    exit 1
}

for tool in desktop-file-validate appstreamcli mandoc makewhatis; do
    command -v "$tool" >/dev/null || fail "$tool is not installed"
done

# quiet NAME COMMAND ...: fails unless the command succeeds without a word.
quiet() {
    local name=$1 said
    shift
    if ! said=$("$@" 2>&1) || [ -n "$said" ]; then
        echo "$said" >&2
        fail "$name finds fault"
    fi
}

expected_files() {
    printf '%s\n' bin/Corvane bin/corvane bin/corvane-play bin/corvane-shot bin/corvane-world \
        share/applications/corvane.desktop share/metainfo/org.example.corvane.metainfo.xml \
        share/doc/corvane/CHANGELOG.md share/doc/corvane/copyright \
        share/man/man1/corvane-play.1 share/man/man1/corvane-shot.1 share/man/man1/corvane-world.1 \
        share/man/man6/Corvane.6 share/man/man6/corvane.6
    printf 'share/icons/hicolor/%sx%s/apps/corvane.png\n' \
        16 16 22 22 24 24 32 32 48 48 64 64 128 128 256 256 512 512
}

check_files() {
    DESTDIR=$folder/root cmake --install "$build" --prefix /usr >"$folder/log" ||
        fail "cmake --install fails: $(cat "$folder/log")"
    diff <(expected_files | LC_ALL=C sort) \
        <(cd "$folder/root/usr" && find . -type f | sed 's|^\./||' | LC_ALL=C sort) ||
        fail "not the files that belong there"
}

check_icons() {
    local icon size
    for icon in "$folder"/root/usr/share/icons/hicolor/*/apps/corvane.png; do
        size=$(od -An -tu1 -j16 -N8 "$icon" | awk '{print $3 * 256 + $4 "x" $7 * 256 + $8}')
        case $icon in
        */hicolor/"$size"/apps/*) ;;
        *) fail "$icon is $size pixels" ;;
        esac
    done
}

check_metainfo() {
    local said
    said=$(appstreamcli validate --no-net --no-color "$1" 2>&1) || fail "appstreamcli: $said"
    if grep -qE '^ *[EW]: ' <<<"$said"; then
        fail "appstreamcli: $said"
    fi
}

# options_of: the long options that a text names, sorted.
options_of() {
    grep -oE -- '--[a-z]+(-[a-z]+)*' | LC_ALL=C sort -u
}

check_tool() {
    local tool=$1
    diff <("$bin/$tool" --help | options_of) \
        <(mandoc -T utf8 "$manuals/man1/$tool.1" | sed 's/.\x08//g' | options_of) ||
        fail "--help of $tool and its manual name different options"
    [ "$("$bin/$tool" --version)" = "$tool $version" ] || fail "$tool does not say version $version"
}

check_tools_run() {
    local tool
    for tool in corvane-play corvane-shot corvane-world; do
        check_tool "$tool"
    done
    "$bin/corvane-world" make --seed 1 --mode 0 --kind 5 --out "$folder/world"
    "$bin/corvane-world" check "$folder/world" >/dev/null
    "$bin/corvane-shot" --world "$folder/world" --size 64x48 --out "$folder/picture.png"
    [ -s "$folder/picture.png" ] || fail "corvane-shot has drawn nothing"
    echo 'at 2 close' >"$folder/script"
    (mkdir "$folder/play" && cd "$folder/play" && "$bin/corvane-play" ../script --size 64x48)
    [ -s "$folder/play/maze_save.dat" ] || fail "corvane-play has left no save"
}

# started NAME=VALUE ... WORDS: what the launcher says in this environment, beside a program that
# tells where it has been started.
started() {
    env -u XDG_DATA_HOME -u HOME "$@" 2>&1
}

# The launcher is what the desktop entry starts.
check_launcher() {
    local launcher
    launcher=$folder/where/$(sed -n 's/^Exec=//p' "$folder/root/usr/share/applications/corvane.desktop")
    mkdir "$folder/where" "$folder/home"
    cp "$bin/$(basename "$launcher")" "$launcher"
    printf '#!/bin/sh\npwd\n' >"$folder/where/Corvane"
    chmod +x "$folder/where/Corvane"
    ln -s "$launcher" "$folder/link"
    touch "$folder/file"
    local data=$folder/home/.local/share/corvane
    [ "$(started HOME="$folder/home" "$launcher")" = "$data" ] || fail "not started in $data"
    [ "$(started HOME="$folder/home" "$folder/link")" = "$data" ] || fail "not started by a link"
    [ "$(started HOME="$folder/home" XDG_DATA_HOME=here "$launcher")" = "$data" ] ||
        fail "XDG_DATA_HOME counts though it is relative"
    [ "$(started HOME="$folder/home" XDG_DATA_HOME="$folder/a b" "$launcher")" = "$folder/a b/corvane" ] ||
        fail "XDG_DATA_HOME does not count"
    check_refusal 2 "it takes no options" HOME="$folder/home" "$launcher" --help
    check_refusal 1 "neither HOME nor" "$launcher"
    check_refusal 1 "can't be used" XDG_DATA_HOME="$folder/file" "$launcher"
}

# check_refusal CODE PART WORDS: the launcher ends with this code, and what it says holds the part.
check_refusal() {
    local code=0 said
    said=$(started "${@:3}") || code=$?
    if [ "$code" != "$1" ] || [[ $said != *"corvane: "*"$2"* ]]; then
        fail "the launcher ends with $code instead of $1: $said"
    fi
}

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
bin=$folder/root/usr/bin
manuals=$folder/root/usr/share/man

check_files
check_icons
quiet desktop-file-validate desktop-file-validate "$folder/root/usr/share/applications/corvane.desktop"
check_metainfo "$folder/root/usr/share/metainfo/org.example.corvane.metainfo.xml"
grep -q "<release version=\"$version\"" packaging/org.example.corvane.metainfo.xml ||
    fail "the metainfo does not name version $version"
makewhatis "$manuals" # so that references between the manuals are known
quiet mandoc env MANPATH="$manuals" mandoc -T lint -W style "$manuals"/man?/corvane*
check_tools_run
check_launcher
echo "the installed files are as they should be"
