/* Linked behind the sources: their static data ends before these two. See EngineState.cpp. */
char qevDataLast[32] = {1};
char qevZeroLast[32];
