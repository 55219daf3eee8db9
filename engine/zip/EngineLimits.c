/* Sizes that only the zip sources' own header knows. Compiled as they are. */
#include "zip.h"

const unsigned qevErrbufSize = sizeof errbuf;
