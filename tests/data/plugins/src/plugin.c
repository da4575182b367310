/* The code part of the test plug-ins. Discovery never runs it; it only has to be a DLL with the
   entry points that the resources name. Built without the C run-time to keep the files small. */
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
  (void)instance;
  (void)reason;
  (void)reserved;
  return TRUE;
}

#define ENTRY(name)                                                                        \
  __declspec(dllexport) void name(short selector, void* record, long* data, short* result) { \
    (void)selector;                                                                        \
    (void)record;                                                                          \
    (void)data;                                                                            \
    *result = 0;                                                                           \
  }

ENTRY(SoftBlur)
ENTRY(RippleA)
ENTRY(RippleB)
ENTRY(SharpenEdges)
ENTRY(ExportIt)
ENTRY(ENTRYPOINT16000)
ENTRY(ENTRYPOINT16001)
