#!/usr/bin/env bash
# check_deb.sh BUILD: makes the Debian package of a build and fails if lintian has anything to say, or if
# the package is not what it says it is.
set -euo pipefail
build=$(cd "$1" && pwd)
cd "$(dirname "${BASH_SOURCE[0]}")/.."

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

fail() {
    echo "check_deb: $1" >&2
    exit 1
}

for tool in cpack lintian dpkg-deb dpkg-shlibdeps readelf; do
    command -v "$tool" >/dev/null || fail "$tool is not installed"
done

check_lintian() {
    local said
    said=$(lintian --allow-root --tag-display-limit 0 "$package" 2>&1) || fail "lintian: $said"
    [ -z "$said" ] || fail "lintian: $said"
}

# field NAME: what the package says of itself.
field() {
    dpkg-deb --field "$package" "$1"
}

check_fields() {
    local version name
    version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
    [ "$(field Package)" = corvane ] || fail "the package is called $(field Package)"
    [[ $(field Version) == "$version"-* ]] || fail "the version is $(field Version)"
    [ "$(field Version)" = "$(sed -n '1s/.*(\(.*\)).*/\1/p' packaging/debian/changelog)" ] ||
        fail "the changelog is of another version than $(field Version)"
    for name in libsdl2-2.0-0 libpng16-16 libegl1 libgl1 libc6; do
        [[ ", $(field Depends)" =~ ", $name"(t64)?($|[,\ ]) ]] || fail "it does not depend on $name"
    done
}

# check_program FILE: stripped, at a place drawn at the start, its table of addresses closed.
check_program() {
    readelf -hW "$1" | grep -q 'Type:.*DYN' || fail "$1 has a fixed place in memory"
    readelf -dW "$1" | grep -q 'BIND_NOW' || fail "$1 binds late"
    readelf -lW "$1" | grep -q 'GNU_RELRO' || fail "$1 can write to its tables"
    if readelf -SW "$1" | grep -q '\.symtab'; then
        fail "$1 is not stripped"
    fi
}

check_content() {
    local root=$folder/root program page
    dpkg-deb --extract "$package" "$root"
    dpkg-deb --control "$package" "$folder/control"
    (cd "$root" && md5sum --quiet -c "$folder/control/md5sums") || fail "md5sums are wrong"
    for program in games/Corvane bin/corvane-play bin/corvane-shot bin/corvane-world; do
        check_program "$root/usr/$program"
    done
    [ -x "$root/usr/games/corvane" ] || fail "there is no launcher"
    for page in man6/corvane.6 man1/corvane-play.1 man1/corvane-shot.1 man1/corvane-world.1; do
        gzip -dc "$root/usr/share/man/$page.gz" | cmp - "packaging/man/${page#*/}" ||
            fail "the manual $page is not the present one"
    done
    "$root/usr/bin/corvane-world" make --seed 1 --mode 0 --kind 5 --digest |
        cmp - <("$build/bin/corvane-world" make --seed 1 --mode 0 --kind 5 --digest) ||
        fail "the packaged corvane-world makes another world"
}

(cd "$build" && cpack -B "$folder/made") >"$folder/log" 2>&1 || fail "cpack fails: $(cat "$folder/log")"
package=$(echo "$folder"/made/corvane_*.deb)
[ -f "$package" ] || fail "cpack has made no package"
check_fields
check_content
check_lintian
echo "$(basename "$package") is sound"
