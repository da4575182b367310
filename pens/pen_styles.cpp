#include "pens/pen_styles.h"

#include "platform/profile.h"

#include <cstdio>
#include <unistd.h>

CStringArray& PenStyleList() {
  static CStringArray list;
  return list;
}

void ReadPenStyles() {
  CWinApp* app = AfxGetApp();
  const int count = static_cast<int>(app->GetProfileInt("PenStyle", "count", 0));
  CStringArray& list = PenStyleList();
  list.RemoveAll();
  // A current directory of 200 characters or more does not fit the buffer and reads as empty:
  // intended.
  char buffer[200] = {};
  if (!getcwd(buffer, sizeof buffer)) buffer[0] = '\0';
  const CString folder = CString(buffer) + "/";
  for (int i = 0; i < count; ++i) {
    char entry[32];
    std::snprintf(entry, sizeof entry, "Pen%d", i);
    list.Add(folder + app->GetProfileString("PenStyle", entry, ""));
  }
}
