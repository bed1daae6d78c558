/*
 * NEB XML: an XML document library behind a flat C interface.
 *
 * A document or a file goes in, a tree of nodes comes out, the caller walks and edits it, and a
 * document is written back. This is the whole public interface. It compiles as C, from C89 with
 * stdint.h to C23, and as C++.
 *
 * Results
 *
 *   Every operation that can fail returns a result code and checks its arguments first. For a null
 *   node, a null required string or a null required out-pointer it returns
 *   NEB_XML_ERR_INVALID_PARAM before it changes anything. Out-pointers are written on success only,
 *   and optional out-pointers may be null. Where a function differs, it says so.
 *
 *   NEB_XML_MUST_USE marks functions whose result must not be dropped: it is what the caller has
 *   to free, or the only sign that a document, an edit or a file was not made. Reads, removals and
 *   registrations are not marked. GCC and Clang warn where a marked result is dropped. A program
 *   may define the macro empty before it includes this header.
 *
 * Names
 *
 *   Ex marks a variant of a function. In the parse functions it means that the document owns a
 *   memory session; in NEB_XML_CreateNodeEx, that a document owns a session and an element is
 *   allocated from a given one. In NEB_XML_GetFirstAttrEx and NEB_XML_GetNextSiblingAttrEx it means
 *   that a cursor holds the attribute. In the functions that end in ValueEx it means that the value
 *   is a variable of a given type instead of a string.
 *
 *   NEB_XML_ functions are the interface for programs. XML_ functions are the lower level: they
 *   serve the library's own parts and callers who build trees of their own, and they check less.
 *
 * Strings
 *
 *   Strings are NUL-terminated bytes; no encoding is interpreted. A node stores a copy, never the
 *   caller's pointer, and the strings passed to a setting operation may be the node's own. In
 *   setting operations a null string leaves its field unchanged and an empty string clears it. A
 *   string that a read operation returns belongs to the node: the caller neither changes nor frees
 *   it, and it is valid until the node's string is replaced or the node is freed. A node that
 *   leaves a document keeps its name, even after the document is freed, if both are heap nodes:
 *   names shared with the document (see NEB_XML_AddAttr) keep the document's record allocated until
 *   the last of them is freed.
 *
 * The tree
 *
 *   A document node is itself the root element. An element holds child elements or one text value.
 *   A node without parent and siblings is detached: it is the root of a tree of its own, and the
 *   caller frees it. The topmost node of a tree is found by following parents from any of its
 *   nodes. A node without a parent that still has siblings (the chain that a document with several
 *   top-level elements gives) is the topmost node of nothing.
 *
 *   An attribute is a node too. Where a function takes a node, it accepts an attribute only if it
 *   says so; otherwise an attribute fails like any wrong argument.
 *
 * Storage
 *
 *   Nodes and strings are allocated on the heap, through the allocation hooks, or from a memory
 *   session: a chain of blocks in which allocations lie back to back, and which is freed as a
 *   whole. "Heap node" and "session node" say where a node's record was allocated. A document from
 *   NEB_XML_ParseEx, NEB_XML_ParseFileEx or NEB_XML_CreateNodeEx owns a session; freeing the
 *   document ends the session and frees everything allocated from it, attached or not. What is
 *   allocated for a node comes from the session of the topmost node of its tree, if there is one,
 *   and otherwise from the heap.
 *
 *   Every allocation is freed where it came from, exactly once, whatever the order of calls. A heap
 *   node may be inserted into a document that owns a session. If it stays there, it is freed with
 *   the document. If it is removed again, it remains the caller's, and may be freed before or after
 *   the document; its strings may be read only while the document lives, since some may have
 *   become the session's. Strings that it gives up while it is there are kept until the session
 *   ends; only if memory is too short to record them are they freed at once. A heap node that has
 *   been in a session's tree is bound to that session. A session node or a bound node is not
 *   accepted into a tree of another session or of none.
 *
 * Files
 *
 *   Paths are the system's. On Windows they are UTF-8, with slashes or backslashes; an absolute
 *   path may take 4000 UTF-16 units. File hooks get paths unchanged, whatever encoding they expect.
 *   Files are binary everywhere. Calls that report errno report it on Windows too: EBUSY if others
 *   have opened the file in a way that forbids the call, EILSEQ for a path that is not UTF-8.
 *
 * Threads
 *
 *   Calls on different trees may overlap, sessions included. Calls that only read one tree
 *   (walking, attribute reads, typed reads, path lookup, printing, also to different files, and
 *   importing from it into another tree) may overlap with each other. A call that changes a tree
 *   must not overlap with any other call on it. Cloning a node allocates from its document's
 *   session and counts as a change. All nodes of a session count as one tree, detached ones too,
 *   with the heap nodes that are attached to them. The registration of hooks must not overlap with
 *   anything; registered hooks are called by whatever threads call the library.
 *
 * Cost
 *
 *   Constant unless a function says otherwise. No function recurses over a tree's depth or width.
 */
#ifndef NEB_XML_H
#define NEB_XML_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

/* For Windows: a program that uses the DLL may define NEB_XML_SHARED. It must if its compiler does
 * not import variables by itself, as MSVC, and the program uses g_fnXMLMalloc or g_fnXMLFree. One
 * that uses the static library does not define it. The CMake package defines it where needed. */
#ifndef NEB_XML_API
#if defined(_WIN32) && defined(NEB_XML_SHARED)
#define NEB_XML_API __declspec(dllimport)
#elif defined(_WIN32)
#define NEB_XML_API
#elif defined(__GNUC__)
#define NEB_XML_API __attribute__((visibility("default")))
#else
#define NEB_XML_API
#endif
#endif

#ifndef NEB_XML_MUST_USE
#if defined(__GNUC__)
#define NEB_XML_MUST_USE __attribute__((warn_unused_result))
#else
#define NEB_XML_MUST_USE
#endif
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* --- Version ---------------------------------------------------------------------------------- */

#define NEB_XML_VERSION_MAJOR 2 /**< The first number of this header's version. */
#define NEB_XML_VERSION_MINOR 1 /**< The second number; below 100. */
#define NEB_XML_VERSION_PATCH 9 /**< The third number; below 100. */

/** The version of this header as one number, to be compared: 30201 stands for 3.2.1. */
#define NEB_XML_VERSION \
  (NEB_XML_VERSION_MAJOR * 10000 + NEB_XML_VERSION_MINOR * 100 + NEB_XML_VERSION_PATCH)

/**
 * Copies the version of the library that runs, with its terminator: "NEB XML ", and the numbers of
 * the version with dots between them.
 *
 * buffer  receives the string.
 * size    of the buffer in bytes, at least 14; 32 hold any version.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null buffer;
 * NEB_XML_ERR_BUFFER_TOO_SMALL with the buffer unchanged.
 */
NEB_XML_API uint32_t NEB_XML_GetVersion(char *buffer, uint32_t size);

/**
 * Names the code that parsing uses on this processor, for messages and reports of speed.
 *
 * Returns a constant string, never null: "avx2", "sse2" or "neon" for these instructions, and
 * "portable" for code that runs on every processor. A later version may return other names. The
 * first parse or the first call of this function chooses; the choice does not change afterwards.
 */
NEB_XML_API const char *NEB_XML_GetKernelName(void);

/* --- Results and types ------------------------------------------------------------------------ */

/** Result codes. Functions return them as uint32_t. */
enum NEB_XML_RESULT {
  /** Success. */
  NEB_XML_OK = 0,
  /** A required argument is null or empty, a node is of the wrong type, a number is out of range, a
   *  node to be printed has no name, or no document can hold what is to be printed exactly. */
  NEB_XML_ERR_INVALID_PARAM = 0x1F000701,
  /** The element already has an attribute of that prefix and name. */
  NEB_XML_ERR_ALREADY_EXISTS = 0x1F000702,
  /** A looked-up attribute or node does not exist. */
  NEB_XML_ERR_NOT_FOUND = 0x1F000703,
  /** Memory could not be allocated. */
  NEB_XML_ERR_NO_MEMORY = 0x1F000704,
  /** The document is not well-formed in the accepted language, or an input file is empty. */
  NEB_XML_ERR_SYNTAX = 0x1F000705,
  /** A lookup path is malformed. */
  NEB_XML_ERR_BAD_PATH = 0x1F000706,
  /** A file could not be opened. */
  NEB_XML_ERR_FILE_OPEN = 0x1F000707,
  /** Writing the output file failed. */
  NEB_XML_ERR_FILE_WRITE = 0x1F000708,
  /** Seeking in, measuring or reading the input file failed. */
  NEB_XML_ERR_FILE_READ = 0x1F000709,
  /** The caller's buffer cannot hold the answer. */
  NEB_XML_ERR_BUFFER_TOO_SMALL = 0x1F00070A,
  /** A document that may well be XML uses what a tree of elements and texts cannot hold. */
  NEB_XML_ERR_UNSUPPORTED = 0x1F00070B,
  /** A document exceeds a limit that the caller has set. */
  NEB_XML_ERR_LIMIT = 0x1F00070C,
  /** No XML document can hold what is to be written. */
  NEB_XML_ERR_UNWRITABLE = 0x1F00070D,
  /** The value to be read is empty, or there is none. */
  NEB_XML_ERR_EMPTY_VALUE = 0x1F00070E,
  /** The value to be read is not of the type's form. */
  NEB_XML_ERR_MALFORMED_VALUE = 0x1F00070F,
  /** The value to be read has the type's form, but the type cannot hold it. */
  NEB_XML_ERR_OUT_OF_RANGE = 0x1F000710
};

/**
 * A result code in words: a short phrase in lower case, without a full stop.
 *
 * code  any number.
 * Returns a constant string, never null; for an unknown code one that says so.
 */
NEB_XML_API const char *NEB_XML_GetErrorText(uint32_t code);

/** Node types. */
enum NEB_XML_NODE_TYPE {
  NEB_XML_NODE_ELEMENT = 0,   /**< An element, below the root or detached. */
  NEB_XML_NODE_ATTRIBUTE = 1, /**< An attribute of an element or a document. */
  NEB_XML_NODE_DOCUMENT = 12  /**< A document, which is the root element itself. */
};

/**
 * Value types: the variable of a typed read or write, and how the value is written. The last three
 * are for NEB_XML_ReadValue and NEB_XML_WriteValue; the functions that end in ValueEx refuse them.
 */
enum XmlValueType {
  /** uint32_t; written as "true" or "false"; read from "1", "true", "0" or "false". */
  NEB_XML_VALUE_BOOL = 0,
  NEB_XML_VALUE_INT32 = 1,  /**< int32_t; decimal. */
  NEB_XML_VALUE_UINT32 = 2, /**< uint32_t; decimal. */
  NEB_XML_VALUE_INT16 = 3,  /**< int16_t; decimal. */
  NEB_XML_VALUE_UINT16 = 4, /**< uint16_t; decimal. */
  NEB_XML_VALUE_INT8 = 5,   /**< int8_t; decimal. */
  NEB_XML_VALUE_UINT8 = 6,  /**< uint8_t; decimal. */
  NEB_XML_VALUE_INT64 = 7,  /**< int64_t; decimal. */
  NEB_XML_VALUE_UINT64 = 8, /**< uint64_t; decimal. */
  /** double; decimal, with an exponent below 0.000001 and from 1e21 on, or INF, -INF or NaN. */
  NEB_XML_VALUE_DOUBLE = 9
};

/** The strings of a node, for NEB_XML_SetString. */
enum NEB_XML_STRING {
  NEB_XML_STRING_PREFIX = 0, /**< What precedes the colon of a name. */
  NEB_XML_STRING_NAME = 1,   /**< The local name. */
  NEB_XML_STRING_VALUE = 2   /**< The value. */
};

/** Where NEB_XML_NewElement inserts an element. */
enum NEB_XML_POSITION {
  NEB_XML_POSITION_LAST_CHILD = 0,  /**< As the last child of the reference. */
  NEB_XML_POSITION_FIRST_CHILD = 1, /**< As its first child. */
  NEB_XML_POSITION_AFTER = 2,       /**< As its next sibling. */
  NEB_XML_POSITION_BEFORE = 3       /**< As its previous sibling. */
};

/** A node of a tree: document, element or attribute. Opaque to callers. */
typedef struct XmlNode XmlNode;

/* --- Parsing ---------------------------------------------------------------------------------- */
/*
 * The language has most documents in common with XML 1.0. The XML declaration, comments, processing
 * instructions and one document type declaration are skipped. References are the five predefined
 * entities and numeric ones. An element holds elements or text, not both. A document may have
 * several top-level elements: the first becomes the document node and the others its next siblings.
 * Without a session those remain the caller's when the document is freed; free them like any node.
 *
 * A failed parse leaves no allocation behind. Cost: linear in the document, constant stack.
 */

/** Flags of NEB_XML_ParseBuffer and NEB_XML_ParseFileInfo. */
enum NEB_XML_PARSE_FLAG {
  /** The document owns a memory session, as from NEB_XML_ParseEx. */
  NEB_XML_PARSE_SESSION = 1,
  /** Reads strictly, as NEB_XML_Read does, with its results. */
  NEB_XML_PARSE_STRICT = 2,
  /** With NEB_XML_PARSE_STRICT: refuses a document type declaration. */
  NEB_XML_PARSE_NO_DOCTYPE = 4
};

/**
 * Why and where a parse failed.
 *
 * The position is the start of the construct that is wrong. Offsets count bytes from the start of
 * the document. Lines and columns count from 1, columns in bytes; a line ends with a line feed. If
 * there is no position (a file that cannot be read, a wrong argument, no memory), line and column
 * are 0. The record has reserved fields rather than a size field, so that a caller has nothing to
 * set and nothing to forget.
 */
typedef struct NEB_XML_PARSE_ERROR {
  uint32_t code;          /**< The result code that the call returns. */
  const char *reason;     /**< A constant string, different for each way to fail; never null. */
  size_t offset;          /**< The position, in bytes from the start. */
  size_t line;            /**< Its line. */
  size_t column;          /**< Its column. */
  size_t endNameOffset;   /**< The name in an end tag that does not match. */
  size_t endNameLength;   /**< 0 for every other failure. */
  size_t startNameOffset; /**< The name of the start tag that it should close; or, if mixed content
                               is not supported, of the element that has it. */
  size_t startNameLength; /**< 0 also if memory ran out while that was searched. */
  size_t startTagOffset;  /**< The '<' of that start tag. */
  size_t systemError;     /**< The errno of a file call that failed; 0 if there is none. */
  size_t nameOffset;      /**< The name of what the reason is about: of an element, an attribute, an
                               entity or an encoding. */
  size_t nameLength;      /**< 0 if the reason is about no name. */
  size_t isWellFormed;    /**< 1 with NEB_XML_ERR_UNSUPPORTED if strict reading has checked the
                               whole document and found nothing malformed; otherwise 0. */
  size_t reserved[2];     /**< For later versions. This version sets them to 0. */
} NEB_XML_PARSE_ERROR;

/**
 * Parses a terminated document into a tree of heap nodes.
 *
 * text    NUL-terminated; only read, and no longer needed when the call returns.
 * outDoc  receives the document node, which the caller frees with NEB_XML_FreeNode.
 * Returns NEB_XML_OK;
 *   NEB_XML_ERR_INVALID_PARAM  a null argument or an empty document; *outDoc is unchanged;
 *   NEB_XML_ERR_SYNTAX         the document is not well-formed, or memory ran out while nodes were
 *                              made; *outDoc is null;
 *   NEB_XML_ERR_NO_MEMORY      the parse could not begin; *outDoc is null.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_Parse(const char *text, XmlNode **outDoc);

/**
 * Parses a document as NEB_XML_Parse does, into one that owns a memory session.
 *
 * Every node and string of the tree is allocated from the session. Freeing the document with
 * NEB_XML_FreeNode ends the session, and frees every node of it, further top-level elements
 * included. Arguments, results and cost as for NEB_XML_Parse.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_ParseEx(const char *text, XmlNode **outDoc);

/**
 * Reads a whole file through the file hooks and parses it as NEB_XML_Parse does.
 *
 * path    passed unchanged to the open hook.
 * outDoc  receives the document node on success; unchanged on every failure.
 *
 * The document ends at the first NUL byte or with the file. Results as for NEB_XML_Parse, and
 *   NEB_XML_ERR_INVALID_PARAM  a null argument;
 *   NEB_XML_ERR_FILE_OPEN      the open hook returned no stream;
 *   NEB_XML_ERR_FILE_READ      the file could not be measured (no tell hook, a tell that fails, a
 *                              size of 4 GiB or more, or of 2 GiB or more through hooks where
 *                              long has 32 bits), rewound or read whole;
 *   NEB_XML_ERR_SYNTAX         also for an empty file;
 *   NEB_XML_ERR_NO_MEMORY      also if the file does not fit into memory.
 * The stream is closed on every path.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_ParseFile(const char *path, XmlNode **outDoc);

/**
 * Reads and parses a file as NEB_XML_ParseFile does, into a document that owns a memory session.
 *
 * *outDoc is set to null before the work starts, so it is null after every failure but
 * NEB_XML_ERR_INVALID_PARAM. Otherwise as NEB_XML_ParseFile and NEB_XML_ParseEx.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_ParseFileEx(const char *path, XmlNode **outDoc);

/**
 * Parses a document of known length, and reports why and where it failed. Without
 * NEB_XML_PARSE_STRICT, it accepts exactly what NEB_XML_Parse accepts, with one addition: a byte
 * order mark of UTF-8 is skipped, and counted in offsets. UTF-16 and UTF-32 are recognised,
 * and named in the reason.
 *
 * bytes   need not be terminated and are never read beyond length; the document ends early at a
 *         NUL, unless it is read strictly. A copy of them is held during the call.
 * length  in bytes.
 * flags   of enum NEB_XML_PARSE_FLAG, or 0; unknown bits are refused.
 * outDoc  receives the document node on success; unchanged on failure.
 * error   may be null; written on failure only. A document that fails is parsed a second time.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null argument, an empty document or an
 * unknown flag; NEB_XML_ERR_SYNTAX only for a document that is not well-formed;
 * NEB_XML_ERR_NO_MEMORY whenever memory runs out.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_ParseBuffer(const char *bytes, size_t length,
                                                          uint32_t flags, XmlNode **outDoc,
                                                          NEB_XML_PARSE_ERROR *error);

/**
 * Reads a file through the file hooks and parses it as NEB_XML_ParseBuffer does.
 *
 * path  passed unchanged to the open hook.
 * Returns the results of NEB_XML_ParseBuffer, and for the file those of NEB_XML_ParseFile.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_ParseFileInfo(const char *path, uint32_t flags,
                                                            XmlNode **outDoc,
                                                            NEB_XML_PARSE_ERROR *error);

/**
 * How NEB_XML_Read and NEB_XML_Load read. A zeroed record, and a null pointer to one, mean the
 * defaults. To set a field, set size too: a record of size 0 with other fields that are not 0 is
 * refused, and so are unknown flags and, in a record of a later version, unknown fields in use.
 *
 * With allocate, all memory of the document comes from it, while it is read and later: its nodes
 * and strings, what edits allocate from its session, and its copies by NEB_XML_CloneNode. So
 * context must outlive them. Nodes on the heap that are inserted stay with the allocation hooks. So
 * do printed documents and the table of sessions, which may allocate if more than 64 are open.
 *
 * maxBytes counts the copy of the document, the tree, and what is allocated for a time. The first
 * block alone takes 8 KiB, so that less than 9 KiB admit no document. It no longer applies when the
 * call has returned: to limit what edits allocate, let allocate return null.
 */
typedef struct NEB_XML_READ_OPTIONS {
  size_t size;       /**< sizeof(NEB_XML_READ_OPTIONS). */
  uint32_t flags;    /**< NEB_XML_PARSE_NO_DOCTYPE, or 0. */
  uint32_t maxDepth; /**< The most elements inside each other, the root included; 0: no limit. */
  size_t maxNodes;   /**< The most elements and attributes together; 0: no limit. */
  size_t maxBytes;   /**< The most memory to be allocated at once while reading; 0: no limit. */
  /** Allocates for this document, aligned as malloc aligns; null: the allocation hooks. */
  void *(*allocate)(void *context, size_t size);
  /** Frees what allocate returned, never null. Both are set, or neither. */
  void (*release)(void *context, void *memory);
  void *context;      /**< Passed to both. */
  char *message;      /**< Receives a sentence about the failure, with names; may be null. */
  size_t messageSize; /**< Of that buffer in bytes. A longer sentence is cut, and terminated. */
} NEB_XML_READ_OPTIONS;

/**
 * Reads a document strictly: accepts what XML 1.0 (fifth edition) calls well-formed, as far as a
 * tree of elements and texts can hold it, and nothing else. The document owns a memory session.
 * Prefer it to the other parse functions unless the lenient language is wanted.
 *
 * bytes    need not be terminated. A byte order mark of UTF-8 is skipped.
 * length   in bytes.
 * options  may be null.
 * outDoc   receives the document node on success; unchanged on failure. Freeing it with
 *          NEB_XML_FreeNode ends its session.
 * error    may be null; written on failure only. A document that fails is parsed a second time.
 *
 * Texts are kept exactly, white space included; comments and processing instructions do not end a
 * text. As XML says, line ends become line feeds, and tabs and line ends in the values of
 * attributes become spaces, unless they are written as references. White space beside child
 * elements is layout. Of the document type declaration, the name, the external identifier and what
 * separates its declarations are checked. Single declarations are skipped: entities and default
 * values that they declare are not used.
 *
 * Returns NEB_XML_OK;
 *   NEB_XML_ERR_INVALID_PARAM  a null argument, a length of 0, or options that are not allowed;
 *   NEB_XML_ERR_SYNTAX         the document is not well-formed;
 *   NEB_XML_ERR_UNSUPPORTED    the document is or may be well-formed, but holds what the tree
 *                              cannot: text beside child elements, names that begin or end with
 *                              ':', entities that it may declare itself, a text of 2 GiB or more;
 *                              or it is in another encoding than UTF-8 or US-ASCII; or it has a
 *                              document type declaration, and the options refuse that;
 *   NEB_XML_ERR_LIMIT          a limit of the options is exceeded;
 *   NEB_XML_ERR_NO_MEMORY.
 *
 * Behind text beside child elements, and behind names with such a colon, the document is checked to
 * its end. If it is malformed there, the result is NEB_XML_ERR_SYNTAX, at that position. If it is
 * not, error->isWellFormed is 1. Anything else that is not supported, and a limit, ends the check:
 * the result is NEB_XML_ERR_UNSUPPORTED at the first position, and isWellFormed is 0.
 *
 * A failed read leaves no allocation behind. Cost: linear in the document, constant stack.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_Read(const char *bytes, size_t length,
                                                   const NEB_XML_READ_OPTIONS *options,
                                                   XmlNode **outDoc, NEB_XML_PARSE_ERROR *error);

/**
 * Reads a file through the file hooks, strictly, as NEB_XML_Read does.
 *
 * path  passed unchanged to the open hook. Whatever can be opened is read to its end, also pipes
 *       and files of any length. If hooks are registered and cannot tell the length, the file ends
 *       where the read hook returns less than requested; if that sets errno, reading has failed.
 * Returns the results of NEB_XML_Read; NEB_XML_ERR_SYNTAX also for an empty file;
 *   NEB_XML_ERR_FILE_OPEN  the open hook returned no stream;
 *   NEB_XML_ERR_FILE_READ  seeking or reading failed, as in a directory.
 * In both cases error->systemError is the errno of the call, or 0 if it set none.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_Load(const char *path,
                                                   const NEB_XML_READ_OPTIONS *options,
                                                   XmlNode **outDoc, NEB_XML_PARSE_ERROR *error);

/* --- Printing and saving ---------------------------------------------------------------------- */
/*
 * NEB_XML_Transform and its variants are lenient. They print without declaration or indentation:
 * every start tag of an element with children, every childless element and every end tag ends in a
 * line feed. In values the characters " ' < > are written as references, and & as well unless it
 * begins one; names are written as they are. What they print of an edited tree may not parse, or to
 * other values. NEB_XML_TransformIndented and NEB_XML_SaveFile are exact instead: this library
 * reads the same tree. NEB_XML_Print and NEB_XML_Save are strict: every XML parser does.
 *
 * start  an element or document; printed with its subtree, without its siblings. Not written to.
 * text   receives a NUL-terminated string from the allocation hook, exactly as large as needed;
 *        freed with NEB_XML_FreeMem.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null argument, an attribute, or a nameless
 * node or attribute to be printed; NEB_XML_ERR_NO_MEMORY, also for an output of 4 GiB or more, or
 * of 2 GiB or more where pointers have 32 bits. The first failure that printing meets decides.
 * *text is written on success only. Cost: linear in the nodes and strings.
 */

/** Prints a subtree. */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_Transform(const XmlNode *start, char **text);

/**
 * Prints the opening half of a subtree: everything but the end tags that follow the last
 * descendants. A childless element without a value that is a last child is left open.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_TransformHead(const XmlNode *start, char **text);

/**
 * Prints the closing half of a subtree: the end tags of every childless last child and of the
 * ancestors that end with it. The text is null if there are none.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_TransformTail(const XmlNode *start, char **text);

/**
 * Prints a subtree and writes it to a file, created or truncated, in one write.
 *
 * path  up to 1024 bytes; opened in its canonical form if the system gives one, else as it is. No
 *       directory is created. The file hooks are not used. A FIFO is opened for writing only:
 *       without a reader it cannot be opened, and if the reader leaves, SIGPIPE is raised.
 * Returns the results of NEB_XML_Transform, the file then being unchanged;
 * NEB_XML_ERR_FILE_OPEN if the file cannot be opened or the path is longer;
 * NEB_XML_ERR_FILE_WRITE if the output was not written whole (a full disk): what was written stays.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_TransformFile(const XmlNode *start, const char *path);

/**
 * Prints a subtree exactly, with indentation: parsing the output with this library gives the same
 * names, values, attributes and structure. Another XML parser does so too if the bytes of 0x80 and
 * above, which are not checked, are UTF-8 of characters that XML allows where they are.
 *
 * Lines are as in NEB_XML_Transform, after width spaces for each level below start, but no more
 * than 128 in all, so that the output grows in proportion to the tree. In values " ' < > & are
 * written as references, & also where it begins one, and so are carriage returns, in attributes
 * tabs and line feeds too; of white space that begins an element's value, the first character where
 * parsing would drop or misplace it. An empty value is none: both are written <x/>, or a="" for an
 * attribute. White space beside children is layout and is left out.
 *
 * start, text  as for NEB_XML_Transform.
 * width        0 to 16.
 * Returns NEB_XML_OK; NEB_XML_ERR_NO_MEMORY, also for an output as long as NEB_XML_Transform says;
 * NEB_XML_ERR_INVALID_PARAM for a wrong argument, and for what no document can hold:
 *   - a node of another type than element and document;
 *   - a name, its prefix included, that is missing or none in XML: of ASCII, letters, digits and
 *     . - _ : of which digits, '.' and '-' do not begin it, and ':' neither begins nor ends it;
 *   - two attributes of one element whose whole names are the same;
 *   - a control character below 0x20 in a value, other than tab, line feed and carriage return;
 *   - a value beside children that is more than white space.
 * The first failure that printing meets decides. Cost: linear in the nodes, strings and spaces.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_TransformIndented(const XmlNode *start,
                                                                uint32_t width, char **text);

/**
 * Prints a subtree into a file atomically: at any moment the old file or the new one is there
 * whole. A temporary file beside it is written, flushed to the disk and renamed. A symbolic link is
 * followed and must lead to a file. An old file's permissions and, as far as the process may, its
 * owner are kept; on Linux its access control list and other extended attributes too, but not
 * security.capability, .ima and .evm, which describe the old content. If the group cannot be kept,
 * its rights are not given to another; if a list or an attribute cannot, the call fails: nobody
 * gains rights. A new file gets what the process's mask allows. Other hard links keep the old file.
 *
 * On Windows, ReplaceFile replaces an old file, which keeps its access rights, attributes and other
 * streams. For a moment, nothing may have its name. If that call fails half-way, the old file is
 * moved back. Nobody can open the temporary file while it is written; from then until it replaces
 * the old one, it has the rights that its folder gives to new files. A file that is marked
 * read-only is not replaced (NEB_XML_ERR_FILE_OPEN), nor one that is open without
 * FILE_SHARE_DELETE, as fopen opens it (NEB_XML_ERR_FILE_WRITE).
 *
 * Where the system has no more than the C library, the rename is as atomic as that of its file
 * system, nothing is flushed to the disk, no rights are kept, and a symbolic link is replaced
 * itself. If the file system does not rename over an old file, the call fails.
 *
 * path          up to 1024 bytes; no directory is created. The file hooks are not used.
 * start, width  as for NEB_XML_TransformIndented. Siblings of start are not written.
 * Returns the results of NEB_XML_TransformIndented, before anything is written: what no document
 * can hold is NEB_XML_ERR_INVALID_PARAM; NEB_XML_ERR_FILE_OPEN if the temporary file cannot be
 * made, or the path is longer or leads to something that is no regular file; NEB_XML_ERR_FILE_WRITE
 * if it was not written, flushed or renamed, or an attribute cannot be kept; NEB_XML_ERR_NO_MEMORY
 * also for reading attributes. After a failure the old file is unchanged, and nothing is left
 * behind unless the folder forbids removing it.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_SaveFile(const XmlNode *start, const char *path,
                                                       uint32_t width);

/** Flags of NEB_XML_PRINT_OPTIONS. */
enum NEB_XML_PRINT_FLAG {
  /** Begins with <?xml version="1.0" encoding="UTF-8"?>, or "US-ASCII". */
  NEB_XML_PRINT_DECLARATION = 1,
  /** Writes characters beyond ASCII as numeric references. Names cannot have any. */
  NEB_XML_PRINT_ASCII = 2,
  /** Indents by tabs instead of spaces; with an indent of 1 to 16. */
  NEB_XML_PRINT_TABS = 4,
  /** Ends lines with a carriage return and a line feed. Line feeds of values do not change. */
  NEB_XML_PRINT_CRLF = 8,
  /** Ends no line but the last. */
  NEB_XML_PRINT_ONE_LINE = 16,
  /** Writes an empty element as <x></x> instead of <x/>. */
  NEB_XML_PRINT_END_TAGS = 32,
  /** Does not end the last line. */
  NEB_XML_PRINT_NO_FINAL_LINE_END = 64
};

/**
 * How NEB_XML_Print and NEB_XML_Save write. A zeroed record, and a null pointer to one, mean the
 * defaults: UTF-8 without a declaration, lines as in NEB_XML_Transform, without indentation. To set
 * a field, set size too. NEB_XML_ERR_INVALID_PARAM is returned for a record of size 0 with other
 * fields that are not 0, for unknown flags, and for unknown fields in use in a record of a later
 * version; also for tabs with an indentation of 0, and for one line with another indentation.
 */
typedef struct NEB_XML_PRINT_OPTIONS {
  size_t size;     /**< sizeof(NEB_XML_PRINT_OPTIONS). */
  uint32_t flags;  /**< Of enum NEB_XML_PRINT_FLAG. */
  uint32_t indent; /**< Spaces or tabs for each level, 0 to 16; no line has more than 128. */
} NEB_XML_PRINT_OPTIONS;

/**
 * Receives a part of a document.
 *
 * context  as it was given to NEB_XML_Print.
 * bytes    not terminated; valid during the call.
 * length   1 to 16384, whatever the size of the document.
 * Returns NEB_XML_OK to go on. Any other number ends printing, and NEB_XML_Print returns it. The
 * function must return, neither throw nor jump, and must not change the tree.
 */
typedef uint32_t (*NEB_XML_SINK)(void *context, const char *bytes, size_t length);

/**
 * Writes a subtree as a document, part by part. Every XML parser reads the same names, values,
 * attributes and structure in it; so does this library, strictly or not. Prefer it to
 * NEB_XML_TransformIndented if the output leaves the program, is large, or needs a layout of its
 * own. It also checks every character, and its results distinguish what cannot be written from
 * wrong arguments.
 *
 * References, empty values and white space are written as NEB_XML_TransformIndented writes them.
 * Parsers that know no edition of XML 1.0 beyond the fourth refuse some names beyond ASCII. Parsers
 * that apply namespaces also refuse names with two colons and prefixes that are not declared.
 *
 * node     an element or document; written with its subtree, without its siblings.
 * options  may be null.
 * sink     receives the document. Parts that were written before a failure are not taken back.
 * context  passed to sink; may be null.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null node or sink, an attribute, or wrong
 * options; NEB_XML_ERR_NO_MEMORY; what sink returned; NEB_XML_ERR_UNWRITABLE for what no document
 * can hold:
 *   - a node of another type than element and document;
 *   - a name, its prefix included, that is missing, no Name of XML 1.0 (fifth edition), begins or
 *     ends with ':', or is not ASCII where that is chosen;
 *   - two attributes of one element whose whole names are the same;
 *   - a value that is not UTF-8, or has a character that XML does not allow: a control character
 *     below 0x20 other than tab, line feed and carriage return, a surrogate, U+FFFE or U+FFFF;
 *   - a value beside children that is more than white space.
 * The first failure that printing meets decides. Memory is allocated only for names of more than
 * 16000 bytes and for elements of more than 24 attributes, while each is written. Cost: linear in
 * the nodes, strings and indentation; 18 KiB of stack. In a build for size on a machine of 32 bits,
 * it is 800 bytes and 3 KiB instead.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_Print(const XmlNode *node,
                                                    const NEB_XML_PRINT_OPTIONS *options,
                                                    NEB_XML_SINK sink, void *context);

/**
 * Writes a subtree to a file as NEB_XML_Print does, and replaces the file atomically as
 * NEB_XML_SaveFile does. Prefer it to NEB_XML_SaveFile for the same reasons; the document is never
 * held in memory.
 *
 * node, options  as for NEB_XML_Print.
 * path           as for NEB_XML_SaveFile.
 * Returns the results of NEB_XML_Print, NEB_XML_ERR_INVALID_PARAM also for a null path, and those
 * of NEB_XML_SaveFile for the file. The temporary file is made first: if that fails, what cannot be
 * written is not reported. After any failure the old file is unchanged, and nothing is left behind
 * unless the folder forbids removing it. If others replace the old file meanwhile, the document is
 * written again, up to 16 times. For NEB_XML_ERR_FILE_OPEN and NEB_XML_ERR_FILE_WRITE errno is that
 * of the call that failed.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_Save(const XmlNode *node, const char *path,
                                                   const NEB_XML_PRINT_OPTIONS *options);

/**
 * Replaces a file atomically by these bytes, as NEB_XML_Save replaces it by a tree. What
 * NEB_XML_EditBytes has made goes back to its file in this way.
 *
 * path    as for NEB_XML_Save.
 * bytes   written as they are: not looked at, and no encoding is assumed.
 * length  in bytes, at least 1.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null argument or a length of 0;
 * NEB_XML_ERR_FILE_OPEN, NEB_XML_ERR_FILE_WRITE and NEB_XML_ERR_NO_MEMORY as NEB_XML_Save, and with
 * the same errno.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_SaveBytes(const char *path, const char *bytes,
                                                        size_t length);

/* --- Tree: making and freeing nodes ----------------------------------------------------------- */

/**
 * Makes a detached element or document on the heap.
 *
 * type                 NEB_XML_NODE_ELEMENT or NEB_XML_NODE_DOCUMENT; attributes are made with
 *                      NEB_XML_AddAttr.
 * prefix, name, value  copied; null or empty leaves the field null.
 * node                 receives the node, which the caller inserts somewhere or frees.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for another type or a null out-pointer;
 * NEB_XML_ERR_NO_MEMORY with nothing kept.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_CreateNode(uint32_t type, const char *prefix,
                                                         const char *name, const char *value,
                                                         XmlNode **node);

/**
 * Makes a detached document that owns a new session, or a detached element of a session.
 *
 * session  for an element, the session to allocate from, or 0 to make it as NEB_XML_CreateNode
 *          does; ignored for a document, which opens a session of 8192 bytes of its own.
 * Other arguments as for NEB_XML_CreateNode. For strings that are not terminated or have to be
 * checked, make the node without them, and call NEB_XML_SetString.
 *
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM as NEB_XML_CreateNode; NEB_XML_ERR_NO_MEMORY with
 * nothing kept, also for a session that is not open. An element whose strings could not be copied
 * leaves its record unused in the session.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_CreateNodeEx(uint32_t session, uint32_t type,
                                                           const char *prefix, const char *name,
                                                           const char *value, XmlNode **node);

/**
 * Detaches a node if it is attached, and frees it with its attributes and its whole subtree.
 *
 * A document that owns a session ends the session. A session node is only detached: it is freed
 * with the session. Siblings are not freed, so the further top-level elements of a parse without a
 * session remain the caller's. A detached attribute is freed; an attribute that belongs to an
 * element is not changed. Null is ignored.
 * Cost: linear in the nodes freed one by one; for a session, one step per block.
 */
NEB_XML_API void NEB_XML_FreeNode(XmlNode *node);

/* --- Tree: walking ---------------------------------------------------------------------------- */

/** The parent; for an attribute, its element. Null for a null or parentless node. */
NEB_XML_API XmlNode *NEB_XML_GetNodeParent(const XmlNode *node);
/** The first child. Null for a null node, a node without children, or an attribute. */
NEB_XML_API XmlNode *NEB_XML_GetNodeFirstChild(const XmlNode *node);
/** The last child. Null for a null node, a node without children, or an attribute. */
NEB_XML_API XmlNode *NEB_XML_GetNodeLastChild(const XmlNode *node);
/** The next sibling; for an attribute, the next attribute of its element. Null if there is none. */
NEB_XML_API XmlNode *NEB_XML_GetNodeNextSibling(const XmlNode *node);
/** The previous sibling. Null for a null node, a first node, or an attribute. */
NEB_XML_API XmlNode *NEB_XML_GetNodePrevSibling(const XmlNode *node);

/**
 * What NEB_XML_GetNodeInfo reads. A string that the node lacks is null with length 0; an empty one
 * is not null, and has length 0. Lengths are in bytes, without the terminator. A link that leads to
 * no node is null. Reserved fields leave room to grow, as in NEB_XML_PARSE_ERROR.
 */
typedef struct NEB_XML_NODE_INFO {
  int32_t type;            /**< As NEB_XML_GetNodeValue reads it. */
  const char *prefix;      /**< What precedes the colon. */
  const char *name;        /**< The local name. */
  const char *value;       /**< The value of the element or attribute. */
  size_t prefixLength;     /**< Of prefix. */
  size_t nameLength;       /**< Of name. */
  size_t valueLength;      /**< Of value. */
  XmlNode *parent;         /**< The parent; for an attribute, its element. */
  XmlNode *nextSibling;    /**< The next sibling; for an attribute, the next attribute. */
  XmlNode *firstChild;     /**< The first child; an attribute has none. */
  XmlNode *firstAttribute; /**< The first attribute; an attribute has none. */
  size_t reserved[4];      /**< For later versions. This version sets them to 0. */
} NEB_XML_NODE_INFO;

/**
 * Reads a node, with its strings and neighbours, by one call. Prefer it where a program needs more
 * than one of the answers. Children and attributes are walked alike: read the first one, and then
 * nextSibling until that is null.
 *
 * node  any node, attributes included.
 * info  receives the answers; unchanged on failure.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null argument. Cost: constant, and the length
 * of each string whose length the node does not hold. It holds that of most names, and of most
 * values of up to 254 bytes.
 */
NEB_XML_API uint32_t NEB_XML_GetNodeInfo(const XmlNode *node, NEB_XML_NODE_INFO *info);

/**
 * Counts the children of a node, attributes not included. Returns NEB_XML_OK;
 * NEB_XML_ERR_INVALID_PARAM for a null argument or an attribute. Cost: linear in the children.
 */
NEB_XML_API uint32_t NEB_XML_GetNodeChildNum(const XmlNode *node, uint32_t *count);

/**
 * The node after this one in document order: first child, else next sibling, else the next
 * sibling of the nearest ancestor that has one. Null at the end, for null and for an attribute.
 *
 * The walk is not confined to the subtree where it began. Attributes are never visited.
 * Cost: constant over a whole walk, at most the depth for one step.
 */
NEB_XML_API XmlNode *NEB_XML_Iterator(const XmlNode *node);

/* --- Tree: inserting and removing ------------------------------------------------------------- */
/*
 * The four insertions attach a detached node, with its attributes and subtree, to a tree. If the
 * topmost node of that tree is a document, the node's own name is interned as in NEB_XML_AddAttr.
 * Storage is neither moved nor copied.
 *
 * parent, sibling  where to insert.
 * node             the detached node; after a failure it is still the caller's.
 * Returns NEB_XML_OK, or NEB_XML_ERR_INVALID_PARAM with nothing changed for
 *   - a null argument, the same node twice, or an attribute as either of them;
 *   - a node that is not detached, or of whose subtree the destination is part;
 *   - a document that owns a session as the node; any document as the node of a sibling
 *     insertion; a document that owns a session as the sibling;
 *   - a parent that is neither an element nor a document;
 *   - a destination in a chain of parentless siblings, and a sibling without a parent, beside
 *     which such a chain would arise;
 *   - a session node, or a heap node that is bound to a session, if the destination is not a tree
 *     of that session (NEB_XML_ImportNode makes a copy that is accepted);
 *   - a session that has no memory left to record that some of its nodes are now attached to heap
 *     nodes, or heap nodes to them.
 * Cost: the depth of the destination.
 */

/** Inserts a node as the first child of parent. */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_AddFirstChildNode(XmlNode *parent, XmlNode *node);

/** Inserts a node as the last child of parent. */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_AppendChildNode(XmlNode *parent, XmlNode *node);

/** Inserts a node directly after sibling. */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_AddNextSiblingNode(XmlNode *sibling, XmlNode *node);

/** Inserts a node directly before sibling. */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_AddPrevSiblingNode(XmlNode *sibling, XmlNode *node);

/**
 * Detaches a node, with its attributes and its whole subtree, from parent and siblings.
 *
 * node  freed by the caller, or inserted elsewhere: nothing is freed here. A session node remains
 *       part of its session and is freed with it.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for null, for a node that is already detached and
 * for an attribute (see NEB_XML_RemoveAttr). Cost: constant; for a heap node its depth, and if it
 * leaves the tree of a session its subtree, all of which is then bound to the session.
 */
NEB_XML_API uint32_t NEB_XML_RemoveNode(XmlNode *node);

/**
 * Makes an element and inserts it, in the storage of the tree that it is for. Prefer it to
 * NEB_XML_CreateNode and an insertion: it needs one call, leaves nothing to free after a failure,
 * takes a name that is not terminated, and refuses what is no name.
 *
 * reference   an element or a document; for a sibling, an element that has a parent.
 * where       a code of enum NEB_XML_POSITION.
 * name        UTF-8, a Name of XML 1.0; a colon neither begins nor ends it. What precedes the first
 *             colon becomes the prefix. It may lie in strings of the tree.
 * nameLength  in bytes; at least 1.
 * element     receives the element, which belongs to the tree.
 *
 * The name is interned as in NEB_XML_AddAttr.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null argument, an empty name or one with a
 * NUL, an unknown code, and a reference that is an attribute, is in a chain of parentless siblings,
 * or cannot have that sibling or child; NEB_XML_ERR_UNWRITABLE for what is no name in XML;
 * NEB_XML_ERR_NO_MEMORY. After a failure the tree is unchanged. Cost: the depth of the reference,
 * and the name.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_NewElement(XmlNode *reference, uint32_t where,
                                                         const char *name, size_t nameLength,
                                                         XmlNode **element);

/* --- Attributes ------------------------------------------------------------------------------- */
/*
 * An attribute is identified by its prefix and its name together. Attributes are in the order of
 * addition. Lookups cost the number of the element's attributes.
 *
 * element  an element or a document; null or an attribute is NEB_XML_ERR_INVALID_PARAM.
 * name     the attribute's name, without its prefix.
 *
 * What receives a string receives null if the attribute lacks it.
 */

/**
 * Reads an attribute's value.
 *
 * prefix  null finds an attribute without a prefix; an empty prefix finds nothing.
 * value   receives the value.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null element, name or out-pointer;
 * NEB_XML_ERR_NOT_FOUND.
 */
NEB_XML_API uint32_t NEB_XML_GetAttr(const XmlNode *element, const char *prefix, const char *name,
                                     const char **value);

/**
 * Reads the first attribute's strings.
 *
 * prefix, name, value  receive the strings.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for any null argument; NEB_XML_ERR_NOT_FOUND if
 * the element has no attribute.
 */
NEB_XML_API uint32_t NEB_XML_GetFirstAttr(const XmlNode *element, const char **prefix,
                                          const char **name, const char **value);

/**
 * As NEB_XML_GetFirstAttr, and begins a walk.
 *
 * cursor  receives the attribute, for NEB_XML_GetNextSiblingAttrEx; may be null.
 */
NEB_XML_API uint32_t NEB_XML_GetFirstAttrEx(const XmlNode *element, const char **prefix,
                                            const char **name, const char **value,
                                            XmlNode **cursor);

/**
 * Reads the strings of the attribute that follows a named one.
 *
 * prefix, name                     the attribute to step from; prefix as for NEB_XML_GetAttr.
 * nextPrefix, nextName, nextValue  receive the strings.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null element, name or out-pointer;
 * NEB_XML_ERR_NOT_FOUND if there is no such attribute or none follows it.
 */
NEB_XML_API uint32_t NEB_XML_GetNextSiblingAttr(const XmlNode *element, const char *prefix,
                                                const char *name, const char **nextPrefix,
                                                const char **nextName, const char **nextValue);

/**
 * Steps through the attributes of an element with a cursor.
 *
 * prefix, name, value  receive the strings.
 * cursor               holds null to begin with the first attribute, or the attribute to step
 *                      from; always advanced, to null after the last attribute.
 * Returns NEB_XML_OK with the strings of the attribute now in the cursor;
 * NEB_XML_ERR_INVALID_PARAM for any null argument, or a cursor that holds a node which is no
 * attribute of element, the cursor then unchanged; NEB_XML_ERR_NOT_FOUND at the end.
 */
NEB_XML_API uint32_t NEB_XML_GetNextSiblingAttrEx(const XmlNode *element, const char **prefix,
                                                  const char **name, const char **value,
                                                  XmlNode **cursor);

/**
 * Adds an attribute at the end of an element's attributes.
 *
 * prefix, value  may be null or empty: the attribute then has none.
 * name           neither null nor empty.
 *
 * In a tree whose topmost node is a document the name is interned if it has at most 11 bytes and
 * the document's table of ten names has room or holds it already.
 *
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null element, a missing name, or an element
 * in a chain of parentless siblings; NEB_XML_ERR_NO_MEMORY; NEB_XML_ERR_ALREADY_EXISTS. On
 * failure the element is unchanged. Cost: the element's attributes and its depth.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_AddAttr(XmlNode *element, const char *prefix,
                                                      const char *name, const char *value);

/**
 * Replaces the value of an existing attribute.
 *
 * prefix  null or empty finds an attribute without a prefix.
 * value   null or empty clears it.
 *
 * The attribute's name is interned as in NEB_XML_AddAttr.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null element or name;
 * NEB_XML_ERR_NOT_FOUND if there is no such attribute; NEB_XML_ERR_INVALID_PARAM for an element
 * in a chain of parentless siblings; NEB_XML_ERR_NO_MEMORY. On failure nothing is changed.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_SetAttr(XmlNode *element, const char *prefix,
                                                      const char *name, const char *value);

/**
 * Removes an attribute from its element and frees it.
 *
 * prefix  null or empty finds an attribute without a prefix.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null element or name; NEB_XML_ERR_NOT_FOUND.
 */
NEB_XML_API uint32_t NEB_XML_RemoveAttr(XmlNode *element, const char *prefix, const char *name);

/**
 * Finds an attribute by its whole name. Prefer it to NEB_XML_GetAttr for a name of known length,
 * and where NEB_XML_ReadValue reads the value.
 *
 * element     an element or a document.
 * name        "name" or "prefix:name"; the first colon ends the prefix. Need not be terminated.
 * nameLength  in bytes.
 * Returns the attribute, which belongs to the element; null if there is none, and for a null
 * element or name or an attribute as element.
 */
NEB_XML_API XmlNode *NEB_XML_FindAttr(const XmlNode *element, const char *name, size_t nameLength);

/**
 * Sets the value of an attribute, which is added behind the others if it is missing. Prefer it to
 * NEB_XML_SetAttr and NEB_XML_AddAttr: it needs one call, takes strings that are not terminated,
 * and refuses what no XML document can hold.
 *
 * element      an element or a document.
 * name         the whole name; as in NEB_XML_NewElement.
 * nameLength   in bytes; at least 1.
 * value        UTF-8 of characters that XML 1.0 allows; may be null if valueLength is 0. Both
 *              strings may be the element's own, or lie in them.
 * valueLength  in bytes; with 0 the attribute is left without a value.
 * attribute    receives the attribute, which belongs to the element; may be null.
 *
 * The name of an attribute that is added is interned as in NEB_XML_AddAttr.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null argument, an attribute as element, an
 * empty name, a NUL in a string, or an element in a chain of parentless siblings;
 * NEB_XML_ERR_UNWRITABLE for what is no name in XML, or a value of other characters;
 * NEB_XML_ERR_NO_MEMORY. After a failure nothing is changed. Cost: the element's attributes and its
 * depth, and the strings.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_PutAttr(XmlNode *element, const char *name,
                                                      size_t nameLength, const char *value,
                                                      size_t valueLength, XmlNode **attribute);

/* --- Values, as strings and typed ------------------------------------------------------------- */

/**
 * Reads a node's type and strings; every out-pointer may be null. The strings are the node's own;
 * null is stored for one that the node lacks.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null node. Attributes are accepted.
 */
NEB_XML_API uint32_t NEB_XML_GetNodeValue(const XmlNode *node, int32_t *type, const char **prefix,
                                          const char **name, const char **value);

/**
 * Replaces a node's strings.
 *
 * node                 any node, attributes included.
 * prefix, name, value  copied; null leaves the field unchanged, an empty string clears it.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null node; NEB_XML_ERR_ALREADY_EXISTS for
 * an attribute that would get prefix and name of another one of its element, nothing changed;
 * NEB_XML_ERR_NO_MEMORY if a copy could not be made: then no field is replaced, while fields
 * cleared by empty arguments stay cleared. Cost: the node's depth, strings and fellow attributes.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_SetNode(XmlNode *node, const char *prefix,
                                                      const char *name, const char *value);

/**
 * Reads the value of a node into a variable.
 *
 * node      any node, attributes included.
 * type      a code of enum XmlValueType.
 * variable  points to a variable of that type's width; need not be aligned.
 *
 * The value must match its form whole: for a boolean exactly "1", "true", "0" or "false"; for an
 * integer decimal digits, with an optional sign in the signed types, within the type's range.
 *
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null argument, an unknown type, a node
 * without a value, or a value of another form or out of range. On failure *variable is unchanged.
 */
NEB_XML_API uint32_t NEB_XML_GetNodeValueEx(const XmlNode *node, uint32_t type, void *variable);

/**
 * Writes a variable as the value of a node.
 *
 * node, type, variable  as for NEB_XML_GetNodeValueEx.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null argument or an unknown type, nothing
 * changed; NEB_XML_ERR_NO_MEMORY, the node then being without a value.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_SetNodeValueEx(XmlNode *node, uint32_t type,
                                                             const void *variable);

/**
 * Reads an attribute's value into a variable, by the rules of NEB_XML_GetNodeValueEx.
 *
 * element, prefix, name  as for NEB_XML_GetAttr.
 * type, variable         as for NEB_XML_GetNodeValueEx.
 * Returns the results of NEB_XML_GetNodeValueEx; NEB_XML_ERR_INVALID_PARAM for a null element,
 * name or variable; NEB_XML_ERR_NOT_FOUND if there is no such attribute, whatever the type code.
 */
NEB_XML_API uint32_t NEB_XML_GetAttrValueEx(const XmlNode *element, const char *prefix,
                                            const char *name, uint32_t type, void *variable);

/**
 * Writes a variable as the value of an attribute, which is added if it is missing.
 *
 * element         an element or a document.
 * prefix          null finds, or makes, an attribute without a prefix. An empty prefix finds
 *                 nothing and makes an attribute without one.
 * name            neither null nor empty.
 * type, variable  as for NEB_XML_SetNodeValueEx.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null element, name or variable, an empty
 * name, an unknown type, or a missing attribute on an element in a chain of parentless siblings;
 * NEB_XML_ERR_ALREADY_EXISTS if an empty prefix would make a duplicate attribute;
 * NEB_XML_ERR_NO_MEMORY. If an attribute could not be added, the element is unchanged; if the value
 * of an existing one could not be copied, that attribute is without a value.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_SetAttrValueEx(XmlNode *element, const char *prefix,
                                                             const char *name, uint32_t type,
                                                             const void *variable);

/**
 * Reads the value of a node into a variable, and tells failures apart. Prefer it to
 * NEB_XML_GetNodeValueEx and NEB_XML_GetAttrValueEx, which have one result for all failures, know
 * neither integers of 64 bits nor doubles, and refuse white space.
 *
 * node      any node, attributes included. Null stands for a node that was not found, so that the
 *           result of NEB_XML_FindAttr can be passed on.
 * type      a code of enum XmlValueType.
 * variable  points to a variable of that type's width; need not be aligned.
 *
 * Spaces, tabs, carriage returns and line feeds around the value are ignored. The rest must match
 * its form whole:
 *   - a boolean: "1", "true", "0" or "false";
 *   - an integer: decimal digits, after an optional sign in every type;
 *   - a double: as in XML Schema, such as "12", "-0.5", ".5e-3", "1E6", "INF", "-INF" or "NaN".
 *     The nearest double is read, which is 0 for what is closest to 0.
 * The locale does not matter.
 *
 * Returns NEB_XML_OK;
 *   NEB_XML_ERR_INVALID_PARAM    an unknown type or a null variable;
 *   NEB_XML_ERR_NOT_FOUND        a null node;
 *   NEB_XML_ERR_EMPTY_VALUE      no value, or nothing but white space;
 *   NEB_XML_ERR_MALFORMED_VALUE  a value of another form;
 *   NEB_XML_ERR_OUT_OF_RANGE     a number that the type cannot hold: for unsigned types every
 *                                negative one, for a double what is nearest to no finite one.
 * On failure *variable is unchanged. Cost: the value.
 */
NEB_XML_API uint32_t NEB_XML_ReadValue(const XmlNode *node, uint32_t type, void *variable);

/**
 * Writes a variable as the value of a node. Prefer it to NEB_XML_SetNodeValueEx: it also writes
 * integers of 64 bits and doubles, and a failure leaves the old value.
 *
 * node            any node, attributes included.
 * type, variable  as for NEB_XML_ReadValue. A double is written in the fewest digits that read back
 *                 as the same one.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null argument or an unknown type;
 * NEB_XML_ERR_NO_MEMORY. After a failure the node is unchanged. Cost: the node's depth.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_WriteValue(XmlNode *node, uint32_t type,
                                                         const void *variable);

/**
 * Sets one string of a node. Prefer it to NEB_XML_SetNode for a string that is not terminated, and
 * to refuse what no XML document can hold.
 *
 * node    any node, attributes included.
 * field   a code of enum NEB_XML_STRING.
 * bytes   copied; may be null if length is 0, and may be a string of the node or lie in one. A name
 *         and a prefix are a Name of XML 1.0 without a colon, a value is UTF-8 of characters that
 *         XML 1.0 allows.
 * length  in bytes; 0 clears a prefix or a value.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null argument, an unknown field, an empty
 * name or a NUL in the string; NEB_XML_ERR_UNWRITABLE for what is no such name, or a value of other
 * characters; NEB_XML_ERR_ALREADY_EXISTS for an attribute that would get prefix and name of another
 * one of its element; NEB_XML_ERR_NO_MEMORY. After a failure the node is unchanged. Cost: the
 * node's depth and the string; for the name or prefix of an attribute also its fellow attributes.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_SetString(XmlNode *node, uint32_t field,
                                                        const char *bytes, size_t length);

/* --- Paths ------------------------------------------------------------------------------------ */

/**
 * Finds a node by a path such as "config.server.2.port".
 *
 * Segments are separated by dots; extra dots are ignored, and "\." is a dot inside a segment. The
 * first segment names the start node; each further one names a child of the node before, the
 * first that matches. A segment of digits chooses the n-th match of the name before it, counting
 * from 1. A segment without ':' matches the local name, whatever the prefix; one with ':' matches
 * prefix and name.
 *
 * start  an element or a document, of any tree.
 * path   1 to 511 bytes.
 * node   receives the node found.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null argument, an empty or longer path, or
 * an attribute as start; NEB_XML_ERR_NOT_FOUND if nothing matches, for an index of more than 9
 * digits and for a path of dots; NEB_XML_ERR_BAD_PATH for the index 0 and an index that does not
 * follow a name (both only once the search has come that far).
 * Cost: the children scanned, times the segments.
 */
NEB_XML_API uint32_t NEB_XML_GetNodeByUrl(const XmlNode *start, const char *path, XmlNode **node);

/**
 * The state of a search by NEB_XML_Select. A zeroed cursor begins one: NEB_XML_CURSOR cursor = {0};
 * It owns nothing: a search may be abandoned at any time.
 */
typedef struct NEB_XML_CURSOR {
  XmlNode *node;   /**< The match: an element, document or attribute. Null if there is none. */
  size_t offset;   /**< In a malformed pattern, the first byte that is wrong. */
  size_t walk[96]; /**< Belongs to the library, with room for later versions. */
} NEB_XML_CURSOR;

/**
 * Finds the next node that matches a pattern such as "config.**.server[@name=web].port", in
 * document order. Prefer it to NEB_XML_GetNodeByUrl to find every match, to search at any depth, or
 * to find attributes.
 *
 * A pattern is a path of NEB_XML_GetNodeByUrl, but a segment finds every child that matches, not
 * only the first one. If NEB_XML_GetNodeByUrl finds a node by a path without * [ ] @, that node is
 * the first match. Besides, a pattern may contain
 *   *               as a whole segment: an element of any name, or of none;
 *   **              as a whole segment: any number of levels, also none. "r.**" finds r and all
 *                   elements below it; "**.a" finds the start too, if its name is a;
 *   name[2], *[2]   the second of the siblings that match the name; the same as name.2 and *.2. The
 *                   position follows the name directly. The first segment takes none. Where the
 *                   start matches a later segment, its position is 1;
 *   [@name=value]   an attribute has this value;  [@name]  there is such an attribute;
 *   [name=value]    a child has this value;       [name]   there is such a child;
 *   [.=value]       the element itself has this value;
 *   @name           as the last segment: an attribute of what the segments before it find.
 * A segment may have several conditions in brackets, and all must hold. Names of attributes and
 * children match as segments do: * is any name, and a name without ':' matches any prefix. In a
 * name, "\*", "\[", "\]" and "\@" are characters, as "\." is.
 *
 * Values are compared byte by byte; a missing value equals an empty one. A value needs quotes, ' or
 * ", if it is empty, contains ], begins with a quote, or begins or ends with white space. In a
 * value, with or without quotes, a backslash stands for the byte behind it.
 *
 * start    an element or a document, of any tree. Only its subtree is searched.
 * pattern  1 to 511 bytes, with at most 16 segments ** and at most 32 others behind each of them.
 * cursor   zeroed before the first call. Each further call takes the same start and an equal
 *          pattern. One thread uses it at a time.
 * Returns NEB_XML_OK with the match in cursor->node;
 *   NEB_XML_ERR_NOT_FOUND      no further match, in later calls too; cursor->node is null;
 *   NEB_XML_ERR_BAD_PATH       the pattern is malformed; cursor->node is null and cursor->offset
 *                              set. So are a pattern of dots, the position 0, and a position that
 *                              does not follow a name. One of more than 9 digits finds nothing;
 *   NEB_XML_ERR_INVALID_PARAM  a null argument, an empty or longer pattern, an attribute as start,
 *                              or another start or pattern than before; the cursor is unchanged.
 *
 * The tree is only read. Between two calls a program may change it, but must not remove
 * cursor->node or a node above it. It is not defined which changes the later matches reflect.
 * Cost: a whole search is linear in the nodes of the subtree, attributes included. What it takes
 * for each of them grows with the length of the pattern, at most with its square. Each call also
 * parses the pattern.
 */
NEB_XML_API uint32_t NEB_XML_Select(const XmlNode *start, const char *pattern,
                                    NEB_XML_CURSOR *cursor);

/* --- Copies ----------------------------------------------------------------------------------- */

/**
 * Copies a node with its attributes and its whole subtree.
 *
 * source  an element or document. Never changed, but the copy is allocated from its session.
 * copy    receives a detached copy, which the caller inserts somewhere or frees.
 *
 * The copy is allocated in the storage of the source's tree: its session, if it has one, else the
 * heap. The copy of a document that owns a session is a document with a session of its own. A
 * document on the heap may be part of a session's tree; its copy is allocated from that session
 * and does not end it. Every name in the copy is an owned copy; empty strings become null.
 *
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null argument, an attribute, or a source in
 * a chain of parentless siblings; NEB_XML_ERR_NO_MEMORY with everything freed.
 * Cost: linear in the nodes and strings copied.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_CloneNode(const XmlNode *source, XmlNode **copy);

/** Copies a node with its attributes but without its children; otherwise as NEB_XML_CloneNode. */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_CloneNodeSelf(const XmlNode *source, XmlNode **copy);

/**
 * Copies a node with its attributes and subtree into the storage of another tree, between any two
 * storages. This is the way to bring a node from one document into another where insertion refuses
 * the move.
 *
 * target  a node of the tree that the copy is for, not an attribute; its storage is allocated from.
 * source  an element or document, of any tree; never changed.
 * copy    receives a detached copy, ready to be inserted into target's tree. Documents become
 *         elements, since a document that owns a session cannot be inserted.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null argument, an attribute, or a target in
 * a chain of parentless siblings; NEB_XML_ERR_NO_MEMORY with everything freed.
 * Cost: linear in the nodes and strings copied, and the depth of target.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_ImportNode(XmlNode *target, const XmlNode *source,
                                                         XmlNode **copy);

/* --- Locations, and edits of the document ----------------------------------------------------- */
/*
 * For a tree that was read strictly (NEB_XML_Read, NEB_XML_Load, NEB_XML_PARSE_STRICT) and has not
 * been changed since, and for the bytes that it was read from. The caller keeps those: read the
 * file into memory and call NEB_XML_Read, since NEB_XML_Load frees its copy. Nodes hold no
 * positions: each call reads the bytes again, in step with the tree, and compares all names and
 * values.
 *
 * bytes   the whole document; need not be terminated. A copy of them is held during the call.
 * length  in bytes.
 */

/** A part of a document: from begin up to, but without, end. Both count from the first byte. */
typedef struct NEB_XML_RANGE {
  size_t begin; /**< The offset of the first byte. */
  size_t end;   /**< The offset behind the last byte; the same as begin for an empty range. */
} NEB_XML_RANGE;

/**
 * Where a node is in its document. A byte order mark counts. Lines and columns count from 1,
 * columns in bytes; a line ends with a line feed. Reserved fields leave room to grow, as in
 * NEB_XML_PARSE_ERROR.
 */
typedef struct NEB_XML_LOCATION {
  size_t line;            /**< Of the first byte of the node. */
  size_t column;          /**< Of the first byte of the node. */
  NEB_XML_RANGE whole;    /**< An element with its tags; an attribute from its name to its quote. */
  NEB_XML_RANGE name;     /**< The name with its prefix; of an element, in its start tag. */
  NEB_XML_RANGE content;  /**< Between the tags, or between the quotes; as it is written. */
  NEB_XML_RANGE startTag; /**< The start tag, or the tag of an empty element. Empty, at the end,
                               for an attribute. */
  NEB_XML_RANGE endTag;   /**< The end tag. Empty, at the end, if there is none. */
  size_t reserved[4];     /**< For later versions. This version sets them to 0. */
} NEB_XML_LOCATION;

/**
 * Finds where a node is in the document, for messages such as "config.xml:12:9: port out of range".
 *
 * node      an element, a document or an attribute; for a missing attribute, pass its element.
 * location  receives the answer; unchanged on failure. The content of <a/> is empty, behind the
 *           tag.
 * Returns NEB_XML_OK;
 *   NEB_XML_ERR_INVALID_PARAM  a null argument or a length of 0;
 *   NEB_XML_ERR_SYNTAX         the bytes cannot be read strictly;
 *   NEB_XML_ERR_NOT_FOUND      the bytes are not the document of the node's tree: a name, a value
 *                              or the structure differs. The first failure that reading meets
 *                              decides;
 *   NEB_XML_ERR_NO_MEMORY.
 * Cost: linear in the document and in the node's depth. Memory: a copy of the document, and one of
 * its longest value with references.
 */
NEB_XML_API uint32_t NEB_XML_Locate(const XmlNode *node, const char *bytes, size_t length,
                                    NEB_XML_LOCATION *location);

/** What NEB_XML_EDIT does. The fields that are not named must be null. */
enum NEB_XML_EDIT_KIND {
  /** Sets the value of node, an element or attribute, to value. An empty value clears it. */
  NEB_XML_EDIT_SET_VALUE = 1,
  /** Sets the attribute of node that has this prefix and name to value; adds it if it is
   *  missing. */
  NEB_XML_EDIT_SET_ATTR = 2,
  /** Removes the attribute of node that has this prefix and name. */
  NEB_XML_EDIT_REMOVE_ATTR = 3,
  /** Gives node, an element or attribute, another prefix, another name, or both. A null field stays
   *  as it is, and an empty prefix is removed. */
  NEB_XML_EDIT_RENAME = 4,
  /** Removes node, an element below the root or an attribute. */
  NEB_XML_EDIT_REMOVE = 5,
  /** Inserts content as the first child of node. */
  NEB_XML_EDIT_INSERT_FIRST = 6,
  /** Inserts content as the last child of node. */
  NEB_XML_EDIT_INSERT_LAST = 7,
  /** Inserts content directly before node, an element below the root. */
  NEB_XML_EDIT_INSERT_BEFORE = 8,
  /** Inserts content directly after node, an element below the root. */
  NEB_XML_EDIT_INSERT_AFTER = 9
};

/**
 * One edit. Set the whole record to zero before you fill it in. A colon in name is written as it
 * is: with the name "p:c", an attribute without a prefix is p:c, but <q:b> is renamed to <q:p:c>,
 * unless prefix is empty.
 */
typedef struct NEB_XML_EDIT {
  uint32_t kind;          /**< Of enum NEB_XML_EDIT_KIND. */
  uint32_t flags;         /**< 0. */
  const XmlNode *node;    /**< Of the tree that was read from the document. */
  const char *prefix;     /**< Of the attribute, or the new one; null: none, or unchanged. */
  const char *name;       /**< Of the attribute, or the new one, without its prefix. */
  const char *value;      /**< The new value. */
  const XmlNode *content; /**< An element or document, of any tree; inserted with its subtree. */
  size_t reserved[2];     /**< For later versions; 0. */
} NEB_XML_EDIT;

/**
 * Edits a document and keeps the rest of it byte for byte: comments, declaration, document type
 * declaration, quotes, white space, byte order mark. Prefer it to printing the tree where people
 * also edit the file. The tree is not changed: read the result again, or make the same edits there.
 *
 * edits    all refer to the nodes of the tree as it is. May be null if count is 0.
 * count    of edits; with none, the bytes are passed on as they are.
 * sink     receives the new document in parts, as from NEB_XML_Print. Nothing is written before all
 *          edits have been checked.
 * context  passed to sink; may be null.
 *
 * Read strictly, the result is the tree after the same edits. In detail:
 *   - Values are escaped as NEB_XML_Print does. In a document that declares US-ASCII,
 *     other characters are written as references.
 *   - The value of an attribute keeps its quotes. That of an element replaces its text, CDATA
 *     sections, comments and processing instructions from the first to the last byte of text; those
 *     before and behind are kept. <a/> becomes <a>value</a>. An empty value leaves <a></a>.
 *   - A new attribute comes last, behind the white space that is before the last one, in '"'.
 *   - A removed attribute takes the white space before it with it. A removed element that is alone
 *     on its lines takes the line end and the indentation before it and the spaces behind it with
 *     it. If no child is left, all white space between the tags goes, and comments stay.
 *   - A new element gets a line of its own if its neighbour has one: with the neighbour's line end
 *     and indentation, and its own subtree indented by the step between neighbour and parent. As
 *     the only child it takes the step between its parent and the parent's parent. Otherwise it is
 *     on one line. INSERT_AFTER writes behind comments that end the line of node, INSERT_LAST
 *     behind all comments of node. No line is indented by more than 128 bytes.
 *   - Several insertions at one point follow each other as if they had been made one by one.
 *
 * Returns NEB_XML_OK; what sink returned, if that is not NEB_XML_OK; NEB_XML_ERR_SYNTAX and
 * NEB_XML_ERR_NO_MEMORY as NEB_XML_Locate, the latter also if what is inserted takes 4 GiB or more;
 *   NEB_XML_ERR_INVALID_PARAM   a wrong argument or field; the root removed, or anything beside it;
 *                               edits that conflict: two of one value or name, a value and a child
 *                               for one element, and any other edit of or in a removed node;
 *   NEB_XML_ERR_NOT_FOUND       tree and bytes differ, nodes of several trees, or an attribute
 *                               to be removed that is missing;
 *   NEB_XML_ERR_ALREADY_EXISTS  an element would have two attributes of one name;
 *   NEB_XML_ERR_UNWRITABLE      names, values and content that NEB_XML_Print refuses; a name with
 *                               other characters than ASCII in a document that declares US-ASCII; a
 *                               value for an element with children, a child for one with text.
 * After any of these but the sink's, nothing has been written. Cost: linear in the document, the
 * edits and what they insert, the attributes of the elements whose attributes they name, and
 * sorting of both. Memory: as NEB_XML_Locate, what is inserted, and about 600 bytes for each edit.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t NEB_XML_EditBytes(const char *bytes, size_t length,
                                                        const NEB_XML_EDIT *edits, size_t count,
                                                        NEB_XML_SINK sink, void *context);

/**
 * Finds where many nodes are in the document, as NEB_XML_Locate does for one, by one reading.
 *
 * nodes      of one tree, in any order; a node may be named more than once. May be null if count is
 *            0.
 * count      of nodes, and of locations; with none, the bytes are not read.
 * locations  receives the location of each node, in the order of nodes. All of them are unchanged
 *            on failure. May be null if count is 0.
 *
 * Returns the results of NEB_XML_Locate; NEB_XML_ERR_INVALID_PARAM also if one of the nodes is
 * null; NEB_XML_ERR_NOT_FOUND also for nodes of several trees. Cost: linear in the document and in
 * the depth of the first node, and sorting of the nodes. Memory: as NEB_XML_Locate, and at most 180
 * bytes for each node.
 */
NEB_XML_API uint32_t NEB_XML_LocateNodes(const XmlNode *const *nodes, size_t count,
                                         const char *bytes, size_t length,
                                         NEB_XML_LOCATION *locations);

/* --- Sessions --------------------------------------------------------------------------------- */
/*
 * For callers who allocate from sessions of their own. Documents open and end theirs themselves.
 */

/**
 * Opens a memory session whose first block has room for size bytes.
 * Returns its handle, distinct from that of every open session; 0 for a size of 0 or less and if
 * memory runs out. A session is used by one thread at a time; different sessions are independent.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t XML_MemSessionBegin(int32_t size);

/**
 * Allocates exactly size bytes from a session, all zero and aligned to nothing.
 * First fit: the earliest block with room serves the allocation. Without one, a block of the last
 * block's capacity, doubled until it fits, is added; where doubling cannot reach the size within
 * 2 GiB, a block of exactly that size.
 * Returns null for a handle that is not open, a size of 0 or less, and if memory runs out; the
 * session stays usable.
 * Cost: constant, or logarithmic in the blocks if the allocation comes from an earlier block.
 */
NEB_XML_API NEB_XML_MUST_USE void *XML_MemSpecialMalloc(uint32_t handle, int32_t size);

/**
 * Ends a session: everything allocated from it is invalid from now on.
 * Heap allocations that were left in the session's keeping are freed with the free hook.
 * Returns 1; 0 for a handle that is not open. Cost: linear in the blocks.
 */
NEB_XML_API uint32_t XML_MemSessionEnd(uint32_t handle);

/* --- Hooks and memory ------------------------------------------------------------------------- */

/**
 * Replaces the allocation hooks, which hold malloc, calloc and free from load time.
 *
 * mallocHook, freeHook  stand in for malloc and free.
 * callocHook            stands in for calloc: returns zeroed memory.
 *
 * Memory must be aligned as malloc aligns it. The hooks must not call the library. Memory is freed
 * by the free hook that is registered at that moment.
 * Each block of a session is one call of callocHook. While malloc, calloc and free themselves are
 * registered, one allocation holds many blocks instead, and on Linux its pages are mapped ahead.
 * After a parse, resident memory exceeds the blocks by at most 15 % or 64 KiB, whichever is larger;
 * by up to 4 MiB if the end of the document makes smaller nodes than its beginning, or if most of a
 * copied document's session was no longer in use. Of the address space, it may take half as much
 * again and 4 MiB. If that or mlockall matters, register functions that call malloc, calloc and
 * free. Everything is freed with the session; as of any freed memory, malloc may keep some MiB.
 * A program that replaces malloc, calloc and free for all its libraries must replace realloc too.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null hook, all three then unchanged.
 */
NEB_XML_API uint32_t NEB_XML_RegMemFunc(void *(*mallocHook)(size_t),
                                        void *(*callocHook)(size_t, size_t),
                                        void (*freeHook)(void *));

/**
 * Replaces the file hooks through which input files are read. They hold the C library's
 * functions from load time. While they do, files are read by the system's calls directly.
 *
 * openHook, seekHook, closeHook, readHook  stand in for fopen, fseek, fclose and fread.
 * tellHook                                 stands in for ftell; may be null: files can then not
 *                                          be loaded (NEB_XML_ERR_FILE_READ). Where long has 32
 *                                          bits, neither can files of 2 GiB and more. NEB_XML_Load
 *                                          reads both.
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM if another hook is null, all then unchanged.
 */
NEB_XML_API uint32_t NEB_XML_RegFileFunc(FILE *(*openHook)(const char *, const char *),
                                         int (*seekHook)(FILE *, long, int),
                                         int (*closeHook)(FILE *),
                                         size_t (*readHook)(void *, size_t, size_t, FILE *),
                                         long (*tellHook)(FILE *));

/** The library writes no log: always NEB_XML_ERR_NOT_FOUND, and nothing is kept. */
NEB_XML_API uint32_t NEB_XML_RegDebugFunc(void (*debugHook)(const char *));

/** Frees a string that a Transform function returned. Null is ignored. */
NEB_XML_API void NEB_XML_FreeMem(void *memory);

/** The allocation hook. Read it; change it with NEB_XML_RegMemFunc. */
extern NEB_XML_API void *(*g_fnXMLMalloc)(size_t);
/** The free hook. Read it; change it with NEB_XML_RegMemFunc. */
extern NEB_XML_API void (*g_fnXMLFree)(void *);

/* --- Lower level: nodes and their memory ------------------------------------------------------ */

/**
 * Allocates for a node: from the session of its tree's topmost node if that has one and no
 * siblings, else through the allocation hook. A null node means the hook.
 * Returns null if memory runs out. A session allocation has at most 2 GiB - 1 bytes, all zero.
 * Cost: the depth of the node.
 */
NEB_XML_API NEB_XML_MUST_USE void *XML_Malloc(const XmlNode *node, size_t size);

/**
 * Frees what XML_Malloc returned for the same node at the same position: nothing happens if its
 * tree has a session, otherwise a pointer that is not null goes to the free hook.
 */
NEB_XML_API void XML_Free(const XmlNode *node, void *memory);

/** Copies a string by the rule of XML_Malloc. Null for an empty string and if memory runs out. */
NEB_XML_API NEB_XML_MUST_USE char *XML_Strdup(const XmlNode *node, const char *text);

/** Calls the calloc hook. */
NEB_XML_API NEB_XML_MUST_USE void *XML_Calloc(size_t count, size_t size);

/**
 * Makes a zeroed, detached node of any type: an attribute for type 1, a document for 12, an
 * element record for anything else, whose type is then the low 8 bits.
 *
 * type     of the node, see above.
 * session  to allocate from, or 0 for the allocation hook. The first document made in a session
 *          owns it: freeing that document ends the session.
 * Returns null if memory runs out or the session is not open.
 */
NEB_XML_API NEB_XML_MUST_USE XmlNode *XML_NewNode(uint32_t session, uint32_t type);

/**
 * Sets those strings that are neither null nor empty, all or none, copying by the rule of
 * XML_Strdup for owner. A session node gets strings of its own session if owner is in the tree of
 * another one, since either may end first. Old strings are freed where they came from.
 *
 * owner                null, the node itself, or the node whose tree the node is about to join.
 * node                 not null.
 * prefix, name, value  copied; null or empty leaves the field unchanged.
 * Returns NEB_XML_OK; NEB_XML_ERR_NO_MEMORY with the node unchanged.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t XML_SetNode(XmlNode *owner, XmlNode *node, const char *prefix,
                                                  const char *name, const char *value);

/**
 * Frees a node's strings and record, and no other node. Nothing happens in the tree of a session,
 * which is freed as a whole.
 *
 * The node is removed from its tree first. Its attributes are left detached, and so are children
 * that are session nodes; those that are heap nodes stay a chain without a parent, which
 * XML_FreeNode frees from its first node on. A session node in a tree of heap nodes stays in its
 * session, detached and without strings.
 * Cost: the depth, the children and attributes; for an attribute those before it.
 */
NEB_XML_API void XML_FreeSingleNode(XmlNode *node);

/** As XML_FreeSingleNode, for a detached attribute on the heap; others are not changed. */
NEB_XML_API void XML_FreeSingleAttrNode(XmlNode *attribute);

/**
 * Frees a node with its attributes and subtree, and every sibling after it, up to the first
 * document that owns a session, which ends that session. Nothing else happens in the tree of a
 * session, which is freed as a whole. Links to the node are the caller's to reset.
 */
NEB_XML_API void XML_FreeNode(XmlNode *node);

/**
 * Attaches an attribute made with XML_NewNode at the end of an element's attributes, as it is.
 *
 * Returns NEB_XML_OK; NEB_XML_ERR_INVALID_PARAM for a null argument, an attribute that is not
 * detached or not one, an element that is one; NEB_XML_ERR_ALREADY_EXISTS;
 * NEB_XML_ERR_NO_MEMORY if the session of either cannot record that they are in different storage.
 * On failure the attribute remains the caller's.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t XML_AddAttrNode(XmlNode *attribute, XmlNode *element);

/* --- Lower level: text buffer ----------------------------------------------------------------- */
/*
 * A growable, always terminated string whose storage comes from the allocation hooks. A null buffer
 * is NEB_XML_ERR_INVALID_PARAM, a failed allocation NEB_XML_ERR_NO_MEMORY, also where the length
 * would exceed 32 bits; both leave the buffer unchanged. A source must not lie inside the buffer.
 */

/** The buffer. */
typedef struct XmlMemBuf {
  char *data;        /**< capacity + 1 bytes; null while nothing is allocated. */
  uint32_t length;   /**< Bytes held, terminator excluded. */
  uint32_t capacity; /**< Bytes that fit, terminator excluded. */
  uint32_t growStep; /**< Least growth, and the slack kept before shrinking: 1024. */
} XmlMemBuf;

/** Makes a buffer empty without freeing anything. Null is ignored. */
NEB_XML_API void XML_MembufInit(XmlMemBuf *buffer);

/** Frees a buffer's storage and makes it empty. Null is ignored. */
NEB_XML_API void XML_MembufDestroy(XmlMemBuf *buffer);

/** Replaces the content by count bytes. Null bytes empty the buffer as XML_MembufDestroy does. */
NEB_XML_API NEB_XML_MUST_USE uint32_t XML_MemBufAssign(XmlMemBuf *buffer, const char *bytes,
                                                       uint32_t count);

/** Replaces the content by a string; as XML_MemBufAssign. */
NEB_XML_API NEB_XML_MUST_USE uint32_t XML_MemBufAssignStr(XmlMemBuf *buffer, const char *text);

/** Appends the one byte pointed at. A null pointer does nothing. */
NEB_XML_API NEB_XML_MUST_USE uint32_t XML_MemBufAppend(XmlMemBuf *buffer, const char *character);

/**
 * Inserts count bytes before the byte at position; at most the length, else
 * NEB_XML_ERR_INVALID_PARAM. Null or no bytes do nothing.
 */
NEB_XML_API NEB_XML_MUST_USE uint32_t XML_MemBufInsert(XmlMemBuf *buffer, const char *bytes,
                                                       uint32_t count, uint32_t position);

/** Appends a string. Null or empty does nothing. */
NEB_XML_API NEB_XML_MUST_USE uint32_t XML_MemBufAppendStr(XmlMemBuf *buffer, const char *text);

/* --- Lower level: file hooks and logging ------------------------------------------------------ */

/** Calls the open hook. */
NEB_XML_API NEB_XML_MUST_USE FILE *XML_Fopen(const char *path, const char *mode);
/** Calls the seek hook. */
NEB_XML_API int XML_Fseek(FILE *stream, long offset, int whence);
/** Calls the close hook. */
NEB_XML_API int XML_Fclose(FILE *stream);
/** Calls the read hook. */
NEB_XML_API size_t XML_Fread(void *buffer, size_t size, size_t count, FILE *stream);
/** Calls the tell hook; -1 if it is null. */
NEB_XML_API long XML_Ftell(FILE *stream);
/** Does nothing. */
NEB_XML_API void XML_Dom_LogPrint(const char *format, ...);
/** Does nothing. */
NEB_XML_API void XML_Membuf_LogPrint(const char *format, ...);

#ifdef __cplusplus
}
#endif

#endif
