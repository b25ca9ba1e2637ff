#!/usr/bin/env bash
# Makes the self-signed certificate of a private nginx prefix:
# <prefix>/tls/cert.pem and <prefix>/tls/key.pem, the paths that
# wsgated-tls.conf.template names. Used by scripts/serve.sh and the
# end-to-end tests, so both serve TLS with the same kind of certificate.
#
# An existing pair is kept: a re-run demo keeps the certificate a client
# may already have accepted.
set -euo pipefail
prefix=${1:?usage: make-cert.sh <nginx prefix>}
tls=$prefix/tls
[ -s "$tls/cert.pem" ] && [ -s "$tls/key.pem" ] && exit 0
mkdir -p "$tls"
# The key is written before anyone else can read it.
umask 077
# EC keys are made at once (an RSA key can take seconds on a small CPU);
# the names cover both ways the demo is addressed.
openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 \
  -nodes -days 825 -subj "/CN=localhost" \
  -addext "subjectAltName=DNS:localhost,IP:127.0.0.1" \
  -keyout "$tls/key.pem" -out "$tls/cert.pem" 2>/dev/null
