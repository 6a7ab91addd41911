#pragma once

// The host's own objects, opaque to the plug-in and only ever handled by
// pointer; their layouts per host build are in host/HostLayouts.h.
struct KDoc;
struct KWin;
struct KPulldownWin;
struct KUtility;

// Which text slot of a window: its own text record, its descriptor's name
// record, or its descriptor's second text record.
enum KWinTextType { kWinText = 0, kWinDescriptorName = 1, kWinDescriptorText2 = 2 };
