# Rewrites the generated serializers (soapC.cpp) and declarations
# (soapStub.h) in two ways. Invoked by contract/CMakeLists.txt with
# -DGEN_DIR=<folder of the generated files>.
#
# 1. An enumeration reads any decimal number that is not one of its
#    symbols. Our wire contract keeps numbers outside an enumeration's
#    table (a client may send a status this build does not know yet);
#    soapcpp2 2.8.1xx emits a range check "n < min || n > max" after
#    parsing such a number, which would turn those requests into faults.
#    The check is dropped, and every enumeration is given int as its
#    underlying type: without one, a number outside the enumerators' range
#    would not be a value of the type at all (undefined behaviour).
# 2. Repeated elements of C++ types are read into tracked blocks
#    (tracked_blocks.h), so that a message failing midway does not leak the
#    items it had read.
file(READ "${GEN_DIR}/soapStub.h" stub)
string(REGEX REPLACE "\nenum ([A-Za-z0-9_]+)[ \n]*[{]" "\nenum \\1 : int {" stub
  "${stub}")
file(WRITE "${GEN_DIR}/soapStub.h" "${stub}")

file(READ "${GEN_DIR}/soapC.cpp" text)
string(REGEX REPLACE
  "soap_s2int\\(soap, s, &n\\) \\|\\| n < -?[0-9]+ \\|\\| n > -?[0-9]+\\)"
  "soap_s2int(soap, s, &n))" text "${text}")
string(REPLACE "soap_block<" "tracked_block<" text "${text}")
string(REPLACE "#include \"soapH.h\""
  "#include \"soapH.h\"\n#include \"contract/tracked_blocks.h\"" text "${text}")
file(WRITE "${GEN_DIR}/soapC.cpp" "${text}")
