/* Numbers that cross the host boundary: opcodes the host sends, requests the effect sends. Plain C.
 * Arguments not named are ignored; results not named are 0. docs/threads.md defines the tags in brackets. */
#ifndef TREADSHIFT_VST_OPCODES_H
#define TREADSHIFT_VST_OPCODES_H

/* Host to effect, through AEffect::dispatchEntry. */
enum Opcode {
  kOpOpen = 0,  /* [host, processing stopped] */
  kOpClose = 1, /* [host, processing stopped] destroys the effect; answers 1; the record is gone afterwards */
  kOpSetProgram = 2,          /* [any thread] value: program number below programCount */
  kOpGetProgram = 3,          /* [any thread] answers the current program number */
  kOpSetProgramName = 4,      /* [host] ptr: text, at most 23 characters are kept */
  kOpGetProgramName = 5,      /* [host] ptr: buffer of 32 bytes or more */
  kOpGetParameterLabel = 6,   /* [any thread] index; ptr: buffer of 9 bytes or more */
  kOpGetParameterDisplay = 7, /* [any thread] index; ptr: buffer of 9 bytes or more */
  kOpGetParameterName = 8,    /* [any thread] index; ptr: buffer of 9 bytes or more */
  kOpSetSampleRate = 10,      /* [host, processing stopped] opt: Hz */
  kOpSetBlockSize = 11,       /* [host, processing stopped] value: largest block, samples */
  kOpResumeOrSuspend = 12,    /* [host, processing stopped] value: 0 suspends, anything else resumes */
  kOpEditorRectangle = 13,    /* [host] ptr: place for a rectangle pointer; answers a bool */
  kOpEditorOpen = 14,         /* [host] ptr: parent window; answers a bool */
  kOpEditorClose = 15,        /* [host] */
  kOpEditorIdle = 19,         /* [host] */
  kOpIdentify = 22,           /* [any thread] answers kIdentifyAnswer */
  kOpGetChunk = 23, /* [host, processing stopped] index: as 24; ptr: gets the address; answers bytes */
  kOpSetChunk = 24, /* [host, processing stopped] index: 0 bank, else program; value: bytes; ptr: chunk */
  kOpProcessEvents = 25,           /* [audio] ptr: events */
  kOpCanParameterBeAutomated = 26, /* [any thread] index; answers a bool */
  kOpString2Parameter = 27,        /* [any thread] index; ptr: text; answers a bool */
  kOpGetProgramNameIndexed = 29,   /* [host] index: program; value: category; ptr: buffer; answers a bool */
  kOpGetInputProperties = 33,      /* [host] index; ptr: pin record; answers a bool */
  kOpGetOutputProperties = 34,     /* [host] index; ptr: pin record; answers a bool */
  kOpGetPlugCategory = 35,         /* [any thread] answers 1 effect, 2 synth, 0 unknown */
  kOpOfflineNotify = 38,           /* [host] ptr: files; value: count; index: start flag; answers a bool */
  kOpOfflinePrepare = 39,          /* [host] ptr: tasks; value: count; answers a bool */
  kOpOfflineRun = 40,              /* [host] ptr: tasks; value: count; answers a bool */
  kOpProcessVariableIo = 41,       /* [audio] ptr: record; answers a bool */
  kOpSetSpeakerArrangement = 42,   /* [host] value, ptr: input's and output's address; answers a bool */
  kOpSetBypass = 44,               /* [host] value: flag; answers a bool */
  kOpGetEffectName = 45,           /* [any thread] ptr: buffer of 32 bytes; answers a bool */
  kOpGetVendorString = 47,         /* [any thread] ptr: buffer of 64 bytes; answers a bool */
  kOpGetProductString = 48,        /* [any thread] ptr: buffer of 64 bytes; answers a bool */
  kOpGetVendorVersion = 49,        /* [any thread] answers the version */
  kOpVendorSpecific = 50,          /* [host] index, value, ptr, opt */
  kOpCanDo = 51,                   /* [host] ptr: capability; answers 1 yes, 0 unknown, -1 no */
  kOpGetTailSize = 52,             /* [host] answers samples; 0: default */
  kOpGetParameterProperties = 56,  /* [any thread] index; ptr: 154 bytes (HostRecords.h); answers a bool */
  kOpGetVstVersion = 58,           /* [any thread] answers 2400 */
  kOpEditorKeyDown = 59,  /* [host] index: character; value: virtual key; opt: modifiers; answers a bool */
  kOpEditorKeyUp = 60,    /* [host] as key down */
  kOpEditorKnobMode = 61, /* [host] value: mode; answers a bool */
  kOpGetMidiProgramName = 62,      /* [host] index: channel; ptr: record */
  kOpGetCurrentMidiProgram = 63,   /* [host] index: channel; ptr: record; answers -1: none */
  kOpGetMidiProgramCategory = 64,  /* [host] index: channel; ptr: record */
  kOpHasMidiProgramsChanged = 65,  /* [host] index: channel; answers a bool */
  kOpGetMidiKeyName = 66,          /* [host] index: channel; ptr: record; answers a bool */
  kOpBeginSetProgram = 67,         /* [host] answers a bool */
  kOpEndSetProgram = 68,           /* [host] answers a bool */
  kOpGetSpeakerArrangement = 69,   /* [host] value, ptr: addresses of arrangement pointers; answers a bool */
  kOpGetNextShellPlugin = 70,      /* [host] ptr: buffer */
  kOpStartProcess = 71,            /* [audio] */
  kOpStopProcess = 72,             /* [audio] */
  kOpSetTotalSampleToProcess = 73, /* [audio] value: samples; answers the value */
  kOpSetPanLaw = 74,               /* [host] value: law; opt: level; answers a bool */
  kOpBeginLoadBank = 75,           /* [host] ptr: chunk information */
  kOpBeginLoadProgram = 76,        /* [host] ptr: chunk information */
  kOpSetProcessPrecision = 77,     /* [host] value: precision; answers a bool */
  kOpGetNumMidiInputChannels = 78, /* [host] */
  kOpGetNumMidiOutputChannels = 79 /* [host] */
};

enum {
  kIdentifyAnswer = 0x4E764566 /* 'NvEf': a current-generation effect */
};

/* Effect to host, through HostCallback, on the thread of the call that leads to it; never inside a block. */
enum HostRequest {
  kHostAutomate = 0, /* index: parameter; opt: its new value */
  kHostVersion = 1,  /* answers the host's interface version; 0: none */
  kHostCurrentUniqueID = 2,
  kHostIdle = 3,
  kHostPinUnconnected = 4, /* index: pin; value: 0 input, 1 output; answers non-zero if unconnected */
  kHostWantEvents = 6,     /* value: filter */
  kHostGetTime = 7,        /* value: mask of wanted fields; answers a record's address */
  kHostProcessEvents = 8,  /* ptr: events; answers 1 on success */
  kHostTempoAt = 10,       /* value: position */
  kHostCountAutomatable = 11,
  kHostParameterQuantization = 12,
  kHostIoChanged = 13,
  kHostNeedIdle = 14,
  kHostSizeWindow = 15,       /* index: width; value: height */
  kHostGetSampleRate = 16,    /* answers Hz */
  kHostGetBlockSize = 17,     /* answers samples */
  kHostGetInputLatency = 18,  /* answers samples */
  kHostGetOutputLatency = 19, /* answers samples */
  kHostGetPreviousPlug = 20,
  kHostGetNextPlug = 21,
  kHostWillReplace = 22,
  kHostGetProcessLevel = 23,
  kHostGetAutomationState = 24,
  kHostOfflineStart = 25, /* ptr: files; value: files; index: new files */
  kHostOfflineRead = 26,  /* ptr: task; value: option; index: 1 reads the source */
  kHostOfflineWrite = 27, /* ptr: task; value: option */
  kHostOfflineGetPass = 28,
  kHostOfflineGetMetaPass = 29,
  kHostSetOutputRate = 30,     /* opt: Hz */
  kHostGetOutputSpeakers = 31, /* answers an address */
  kHostGetVendorString = 32,   /* ptr: buffer */
  kHostGetProductString = 33,  /* ptr: buffer */
  kHostGetVendorVersion = 34,
  kHostVendorSpecific = 35, /* index, value, ptr, opt */
  kHostCanDo = 37,          /* ptr: capability */
  kHostGetLanguage = 38,
  kHostOpenWindow = 39,   /* ptr: window record; answers an address */
  kHostCloseWindow = 40,  /* ptr: window record */
  kHostGetDirectory = 41, /* answers an address */
  kHostUpdateDisplay = 42,
  kHostBeginEdit = 43,         /* index: parameter */
  kHostEndEdit = 44,           /* index: parameter */
  kHostOpenFileSelector = 45,  /* ptr: selector */
  kHostCloseFileSelector = 46, /* ptr: selector */
  kHostGetChunkFile = 48,      /* ptr: buffer */
  kHostGetInputSpeakers = 49   /* answers an address */
};

#endif
