/* A test lets the compiler complain about this. */
#include "neb_xml.h"

void drop(XmlNode *node);
void drop(XmlNode *node) { NEB_XML_SetNode(node, NULL, NULL, "value"); }
