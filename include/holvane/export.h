#ifndef HOLVANE_EXPORT_H
#define HOLVANE_EXPORT_H

// HV_API marks the exported interface; everything else in the library is hidden.
#if defined(_WIN32)
#  if defined(HOLVANE_BUILDING_LIBRARY)
#    define HV_API __declspec(dllexport)
#  else
#    define HV_API __declspec(dllimport)
#  endif
#else
#  define HV_API __attribute__((visibility("default")))
#endif

#endif
