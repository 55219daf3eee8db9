/* Linked before the sources: their static data begins behind these two. See EngineState.cpp. */
char qevDataFirst[32] = {1};
char qevZeroFirst[32];
