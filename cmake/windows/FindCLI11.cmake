include(DebianHeaders)
tarnwick_debian_headers(CLI11::CLI11 CLI)
set(CLI11_FOUND TRUE)
