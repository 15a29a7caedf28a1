#!/bin/busybox sh
# shellcheck shell=dash
# First process of the AVX-512 machine (tools/check-avx512.sh): runs the lines of /jobs, each
# name|settings|program|text that the output must match, and switches the machine off.
export PATH=/bin
/bin/busybox --install -s /bin
mount -t proc proc /proc
mount -t sysfs sysfs /sys
mount -t devtmpfs devtmpfs /dev
exec </dev/null >/dev/ttyS0 2>&1
# shellcheck disable=SC1091
. /settings # LD_LIBRARY_PATH, program_seconds
export HOME=/tmp TMPDIR=/tmp QSL_TEST_EMULATED=1 QSL_TEST_LEVELS=avx512
cd /tmp || exit

grep -q avx512vl /proc/cpuinfo || echo "warning: the kernel shows no AVX-512"
ran=0
failed=0
while IFS='|' read -r name settings program text; do
  echo "qsl-start: $name"
  # The settings are words NAME=VALUE, the program may be followed by arguments.
  # shellcheck disable=SC2086
  cd "${program%/*}" && env $settings timeout "${program_seconds:-600}" $program >/tmp/output 2>&1
  status=$?
  if [ $status -eq 0 ] && [ -n "$text" ]; then
    # One line for the pattern: banner and call stand on lines of their own.
    tr '\n' ' ' </tmp/output | grep -q "$text" || status="0, but the output does not match: $text"
  fi
  ran=$((ran + 1))
  echo "qsl-run: $name exit $status"
  if [ "$status" != 0 ]; then
    failed=$((failed + 1))
    echo "qsl-output-begin"
    awk -f /failed-only.awk /tmp/output
    [ "$status" != 139 ] || dmesg | grep segfault | tail -n 1
    echo "qsl-output-end"
  fi
done </jobs
echo "qsl-closing: $ran $failed"
sleep 1
poweroff -f
