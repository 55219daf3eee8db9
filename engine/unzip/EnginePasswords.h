/* Passwords: the one question of a run, and the form of its answer that each encrypted entry was encrypted with.
 *
 * An archive does not say in which code page its maker typed the password, so an entry is tried with the answer as it
 * is (ANSI), in the OEM code page and in UTF-8. Its header lets a form be tested by one byte (APPNOTE 6.1), which a
 * wrong form passes once in 256 times; where several forms pass, the entry itself is read with them until its checksum
 * is right, before anything of it is written or said. */
#ifndef QEV_ENGINE_PASSWORDS_H
#define QEV_ENGINE_PASSWORDS_H

#include "UnzipShim.h"

#define UNZIP_INTERNAL
#include "unzip.h"

/* A new run: nothing has been asked. */
void qevBeginPasswords(void);

/* Whether an entry is only being read for its checksum: nothing of it is to be printed, counted or kept. */
int qevIsTrial(void);

/* Counts bytes that the entry on trial yields; answers 0 if they are more than it should have. */
int qevCountTrial(ulg size);

/* Finds the form that fits the current entry, if it is encrypted; `extract`, of the sources, reads the entry. */
void qevFindPassword(int (*extract)(void));

#endif
