/* Included by the unzip sources' own header: what a callback record of theirs has. They call these functions
 * themselves; see EngineSources.c. */
#ifndef QEV_WINDLL_STRUCTS_H
#define QEV_WINDLL_STRUCTS_H

typedef struct QevCallbacks {
  int(WINAPI* replace)(char* name, unsigned size);
  void(WINAPI* SendApplicationMessage)(unsigned long long size, unsigned long long packedSize, unsigned factor,
                                       unsigned month, unsigned day, unsigned year, unsigned hour, unsigned minute,
                                       char check, const char* name, const char* method, unsigned long crc,
                                       char encrypted);
  void(WINAPI* SendApplicationMessage_i32)(unsigned long sizeLow, unsigned long sizeHigh, unsigned long packedLow,
                                           unsigned long packedHigh, unsigned factor, unsigned month, unsigned day,
                                           unsigned year, unsigned hour, unsigned minute, char check, const char* name,
                                           const char* method, unsigned long crc, char encrypted);
  unsigned long long TotalSizeComp;
  unsigned long long TotalSize;
  unsigned long CompFactor;
  unsigned long NumMembers;
  unsigned short cchComment;
} QevCallbacks, *LPUSERFUNCTIONS;

#endif
