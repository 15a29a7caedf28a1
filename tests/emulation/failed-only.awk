# The output of a GoogleTest program without the tests that passed. The last test stays when the
# program died in it.
/^\[ RUN / { held = $0; next }
/^\[       OK/ { held = ""; next }
/\[  SKIPPED \]/ { held = ""; next }
held != "" { print held; held = "" }
{ print }
END { if (held != "") print held }
