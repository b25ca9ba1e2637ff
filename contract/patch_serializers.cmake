# Rewrites the generated serializers (soapC.cpp) in two ways. Invoked by
# contract/CMakeLists.txt with -DFILE=<path to soapC.cpp>.
#
# 1. An enumeration reads any decimal number that is not one of its
#    symbols. Our wire contract keeps numbers outside an enumeration's
#    table (a client may send a status this build does not know yet);
#    soapcpp2 2.8.1xx emits a range check "n < min || n > max" after
#    parsing such a number, which would turn those requests into faults.
#    The check is dropped.
# 2. Repeated elements of C++ types are read into tracked blocks
#    (tracked_blocks.h), so that a message failing midway does not leak the
#    items it had read.
file(READ "${FILE}" text)
string(REGEX REPLACE
  "soap_s2int\\(soap, s, &n\\) \\|\\| n < -?[0-9]+ \\|\\| n > -?[0-9]+\\)"
  "soap_s2int(soap, s, &n))" text "${text}")
string(REPLACE "soap_block<" "tracked_block<" text "${text}")
string(REPLACE "#include \"soapH.h\""
  "#include \"soapH.h\"\n#include \"contract/tracked_blocks.h\"" text "${text}")
file(WRITE "${FILE}" "${text}")
