# Settings shared by the demo's scripts (run.sh, serve.sh, stop.sh), which
# source this file from the checkout's root. Folders given relative are
# taken from the checkout's root, absolute ones as they are.
#
# Environment: BUILD_DIR (./build), RUN_DIR (./.run), WSGATED_PORT (8080),
# WSGATED_TLS_PORT (8443).

absolute_path() {  # path
  case $1 in
    /*) printf '%s\n' "$1" ;;
    *) printf '%s\n' "$PWD/$1" ;;
  esac
}

build_dir=$(absolute_path "${BUILD_DIR:-build}")
run_dir=$(absolute_path "${RUN_DIR:-.run}")
port=${WSGATED_PORT:-8080}
tls_port=${WSGATED_TLS_PORT:-8443}

# True when something already listens on 127.0.0.1:<port>.
port_in_use() {  # port
  (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null
}
