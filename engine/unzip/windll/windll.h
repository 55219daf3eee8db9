/* Included by the unzip sources: what they take from the shell that they are built into. */
#ifndef QEV_WINDLL_WINDLL_H
#define QEV_WINDLL_WINDLL_H

#define IDM_REPLACE_NO 100
#define IDM_REPLACE_YES 102
#define IDM_REPLACE_ALL 103
#define IDM_REPLACE_NONE 104
#define IDM_REPLACE_RENAME 105

/* They pass on `pG`, the address of their globals, which this build has no use for. */
extern void* pG;

int win_fprintf(void* globals, QevStream* stream, unsigned size, char* data);

/* A field that only another kind of build has. */
#define fValidate noargs

#endif
