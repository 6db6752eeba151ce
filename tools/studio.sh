#!/bin/sh
# The page of the studio: what needs node and a browser, in one place.
#   tools/studio.sh setup           installs node, a browser for the tests, and the packages of the lock file
#   tools/studio.sh build           the page, into studio/dist, when its sources are newer
#   tools/studio.sh unit|lint       its unit tests; types and style
#   tools/studio.sh browser FILE    one file of studio/browser in Chromium, against the command that ZARN names
#   tools/studio.sh speed           prints how quick the page is, for the bench
# Ends with 77, which ctest takes as passed over, where what it needs is not there.
set -eu
cd "$(dirname "$0")/.."
studio=$PWD/studio

missing() {
    echo "studio: passed over, no $1; 'tools/studio.sh setup' gets it" >&2
    exit 77
}

has_node() { command -v node >/dev/null && command -v npm >/dev/null; }
# what was installed last is noted in node_modules
is_current() { [ -f "$studio/node_modules/.lock-of-install" ] && cmp -s "$studio/package-lock.json" "$studio/node_modules/.lock-of-install"; }

needs_packages() {
    has_node || missing "node"
    is_current || missing "packages of studio/package-lock.json"
}

build() {
    needs_packages
    if [ -f "$studio/dist/index.html" ] && [ -z "$(find "$studio/src" "$studio/public" "$studio/index.html" \
        "$studio/package-lock.json" "$studio/vite.config.ts" -newer "$studio/dist/index.html" -print -quit)" ]; then
        return
    fi
    (cd "$studio" && npm run --silent build)
}

case ${1:-} in
    setup)
        has_node || tools/setup.sh nodejs npm
        command -v chromium >/dev/null || tools/setup.sh chromium || echo "studio: goes on without chromium" >&2
        if ! is_current; then
            (cd "$studio" && npm ci --silent)
            cp "$studio/package-lock.json" "$studio/node_modules/.lock-of-install"
        fi
        ;;
    build) build ;;
    unit)
        needs_packages
        cd "$studio" && npm test --silent
        ;;
    lint)
        needs_packages
        cd "$studio" && npm run --silent types && npm run --silent lint
        ;;
    browser)
        needs_packages
        command -v chromium >/dev/null || [ -n "${ZARN_CHROMIUM:-}" ] || missing "chromium"
        [ -f "$studio/dist/index.html" ] || missing "built page"
        cd "$studio" && npm run --silent browser -- "browser/$2.browser.ts"
        ;;
    speed)
        needs_packages
        cd "$studio" && npm run --silent browser -- browser/speed.browser.ts | grep '^studio '
        ;;
    *)
        sed -n '2,8p' "$0"
        exit 2
        ;;
esac
