# Headless Chromium for the QC page tests, sourced by them. Every host name is unresolvable, so
# nothing can come from the network, and each test has a profile of its own. Needs $work (a
# temporary folder) and a fail function; exits 77 (skipped) when Chromium is missing or cannot
# start here.
browser=$(command -v chromium || command -v chromium-browser || true)
[ -n "$browser" ] || { echo "chromium not installed (Debian package chromium): skipped"; exit 77; }

chromium_headless() {
  timeout 60 "$browser" --headless --no-sandbox --disable-gpu --user-data-dir="$work/profile" \
    --host-resolver-rules="MAP * ~NOTFOUND" --virtual-time-budget=5000 "$@"
}
chromium_headless --dump-dom about:blank >"$work/probe.txt" 2>&1 ||
  { tail -5 "$work/probe.txt"; echo "chromium cannot start here: skipped"; exit 77; }

# The value of data-<name> on the drawn page's <body>.
body_value() { grep -o "<body[^>]*>" "$work/dom.html" | grep -o "data-$1=\"[^\"]*\"" | cut -d'"' -f2; }

# Opens the page, keeping the drawn DOM in dom.html and the browser's log in log.txt; console
# messages of the page show there as "CONSOLE" lines, and the page must write none.
open_page() {
  chromium_headless --enable-logging=stderr --v=0 --dump-dom "file://$1" >"$work/dom.html" 2>"$work/log.txt" ||
    fail "chromium could not open $1: $(tail -3 "$work/log.txt")"
  if grep -q ":CONSOLE" "$work/log.txt"; then
    grep ":CONSOLE" "$work/log.txt" >&2
    fail "console messages on $1"
  fi
  [ "$(body_value qc-errors)" = "0" ] || fail "errors caught on $1: '$(body_value qc-errors)'"
}

# A screenshot of the page, 1280 px wide and `height` tall.
take_screenshot() {  # PAGE PNG HEIGHT
  rm -f "$2"
  chromium_headless --hide-scrollbars --window-size="1280,$3" --screenshot="$2" "file://$1" \
    >"$work/screenshot.txt" 2>&1 || fail "screenshot: $(tail -3 "$work/screenshot.txt")"
  [ -s "$2" ] || fail "no screenshot written"
}
