// Tarvik from C#: prints the log, reads the folders and an attribute of a configuration file, and sets an item.
//   from_csharp configuration.xml
// With Mono: mcs from_csharp.cs && mono from_csharp.exe configuration.xml; with .NET, the only source of a console project.
// The system finds tarvik.dll and corekit.dll, or libtarvik.so and libcorekit.so, in the program's folder or where
// LD_LIBRARY_PATH says.
using System;
using System.Collections.Generic;
using System.Runtime.InteropServices;
using System.Text;

// All strings are UTF-8 once CorekitSetUtf8 has been called. The default convention is tarvik's own on every system.
static class Native {
  public const uint Success = 0, NotFound = 3;
  public const uint OpenAtOnce = 0x80000000; // OpenXML waits a second without it
  public const int Detail = 2, Error = 3;

  [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
  public delegate void LogSink(IntPtr context, int kind, IntPtr component, IntPtr text);

  [DllImport("corekit", CallingConvention = CallingConvention.Cdecl)]
  public static extern void CorekitSetUtf8(int on);
  [DllImport("corekit", CallingConvention = CallingConvention.Cdecl)]
  public static extern void CorekitSetLogSink(LogSink sink, IntPtr context);

  [DllImport("tarvik")]
  public static extern uint InitXMLList(out IntPtr list);
  [DllImport("tarvik")]
  public static extern uint EndXMLList(ref IntPtr list);
  [DllImport("tarvik")]
  public static extern uint OpenXML(IntPtr list, byte[] fileName, uint encoding, int encrypted, out uint cookie);
  [DllImport("tarvik")]
  public static extern uint OpenXMLGroup(IntPtr list, uint cookie, byte[] path, byte[] groupId, uint capacity);
  [DllImport("tarvik")]
  public static extern uint GetXMLItem(IntPtr list, uint cookie, byte[] path, byte[] item, byte[] itemType, byte[] attribute,
                                       byte[] valueType, byte[] value, uint capacity);
  [DllImport("tarvik")]
  public static extern uint EnumXMLItem(IntPtr list, uint cookie, byte[] path, byte[] item, byte[] itemType, int index,
                                        byte[] attribute, byte[] valueType, byte[] value, uint capacity);
  [DllImport("tarvik")]
  public static extern uint SetXMLItem(IntPtr list, uint cookie, byte[] path, byte[] item, byte[] itemType, byte[] value);
}

class Failed : Exception {
  public Failed(string what, uint code) : base(what + ": failed (" + code + ")") {}
}

// One file in a list of its own.
class Document : IDisposable {
  IntPtr list;
  readonly uint cookie;

  public Document(string name) {
    Check(Native.InitXMLList(out list), "list");
    uint code = Native.OpenXML(list, Encode(name), Native.OpenAtOnce, 0, out cookie);
    if (code == Native.Success) return;
    Dispose();
    Check(code, name);
  }

  public void Dispose() {
    Native.EndXMLList(ref list);
  }

  public string OpenGroup(string path) {
    var group = new byte[260]; // empty: below the root
    Check(Native.OpenXMLGroup(list, cookie, Encode(path), group, (uint)group.Length), path);
    return Decode(group);
  }

  public string Get(string group, string item, string attribute = null) {
    var value = new byte[4096];
    byte[] kind = Encode(attribute == null ? "ELEMENT" : "ATTRIBUTE");
    Check(Native.GetXMLItem(list, cookie, Encode(group), Encode(item), kind, Encode(attribute), kind, value,
                            (uint)value.Length), group + "\\" + item);
    return Decode(value);
  }

  public IEnumerable<string> Items(string group, string item) {
    var value = new byte[4096];
    byte[] kind = Encode("ELEMENT");
    for (int index = 1;; ++index) {
      uint code = Native.EnumXMLItem(list, cookie, Encode(group), Encode(item), kind, index, null, kind, value,
                                     (uint)value.Length);
      if (code == Native.NotFound) yield break;
      Check(code, group + "\\" + item);
      yield return Decode(value);
    }
  }

  public void Set(string path, string item, string value) {
    Check(Native.SetXMLItem(list, cookie, Encode(path), Encode(item), Encode("ELEMENT"), Encode(value)),
          path + "\\" + item);
  }

  static void Check(uint code, string what) {
    if (code != Native.Success) throw new Failed(what, code);
  }

  static byte[] Encode(string text) {
    return text == null ? null : Encoding.UTF8.GetBytes(text + "\0");
  }

  static string Decode(byte[] bytes) {
    return Encoding.UTF8.GetString(bytes, 0, Array.IndexOf(bytes, (byte)0));
  }
}

static class Program {
  // The library keeps the sink, so the collector must not take it.
  static readonly Native.LogSink printLine = PrintLine;

  static void PrintLine(IntPtr context, int kind, IntPtr component, IntPtr text) {
    if (kind == Native.Detail || kind == Native.Error) Console.Error.WriteLine(Wide(component) + ": " + Wide(text));
  }

  // wchar_t has 16 bits on Windows, elsewhere 32.
  static string Wide(IntPtr text) {
    if (Environment.OSVersion.Platform == PlatformID.Win32NT) return Marshal.PtrToStringUni(text);
    var characters = new StringBuilder();
    for (int offset = 0; Marshal.ReadInt32(text, offset) != 0; offset += 4)
      characters.Append(char.ConvertFromUtf32(Marshal.ReadInt32(text, offset)));
    return characters.ToString();
  }

  static int Main(string[] arguments) {
    if (arguments.Length != 1) {
      Console.Error.WriteLine("usage: from_csharp FILE");
      return 2;
    }
    Native.CorekitSetUtf8(1);
    Native.CorekitSetLogSink(printLine, IntPtr.Zero);
    try {
      using (var document = new Document(arguments[0])) {
        foreach (string folder in document.Items(document.OpenGroup("Folders"), "Folder"))
          Console.WriteLine("folder: " + folder);
        string network = document.OpenGroup("Network");
        Console.WriteLine("timeout: " + document.Get(network, "Timeout") + " " + document.Get(network, "Timeout", "unit"));
        document.Set("Network", "Timeout", "30"); // saves the file
      }
    } catch (Failed failure) {
      Console.Error.WriteLine(failure.Message);
      return 2;
    }
    return 0;
  }
}
