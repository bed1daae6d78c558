/* Builds a document from nothing and prints it. */
#include <stdio.h>
#include <stdlib.h>

#include "neb_xml.h"

struct Port {
  const char *name;
  uint16_t vlan;
  uint32_t isEnabled;
};

static const struct Port kPorts[] = {{"port1", 120, 1}, {"port2", 310, 0}};

/* Appends a new element; null if that fails. */
static XmlNode *append(XmlNode *parent, const char *name) {
  XmlNode *child;

  if (NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, NULL, name, NULL, &child) != NEB_XML_OK) return NULL;
  if (NEB_XML_AppendChildNode(parent, child) == NEB_XML_OK) return child;
  NEB_XML_FreeNode(child); /* it was not appended, so it is still ours */
  return NULL;
}

/* Every call on a null node fails, so one check at the end is enough. */
static int addPort(XmlNode *device, const struct Port *port) {
  XmlNode *node = append(device, "port");
  XmlNode *vlan = append(node, "vlan");

  return NEB_XML_AddAttr(node, NULL, "name", port->name) == NEB_XML_OK &&
         NEB_XML_SetAttrValueEx(node, NULL, "enabled", NEB_XML_VALUE_BOOL, &port->isEnabled) ==
             NEB_XML_OK &&
         NEB_XML_SetNodeValueEx(vlan, NEB_XML_VALUE_UINT16, &port->vlan) == NEB_XML_OK;
}

int main(void) {
  XmlNode *device;
  char *text;
  int isDone = 1;

  if (NEB_XML_CreateNodeEx(0, NEB_XML_NODE_DOCUMENT, NULL, "device", NULL, &device) != NEB_XML_OK) {
    return EXIT_FAILURE;
  }
  for (size_t i = 0; i < sizeof kPorts / sizeof kPorts[0]; ++i) {
    isDone = isDone && addPort(device, &kPorts[i]);
  }
  isDone = isDone && NEB_XML_TransformIndented(device, 2, &text) == NEB_XML_OK;
  if (isDone) {
    fputs(text, stdout);
    NEB_XML_FreeMem(text);
  }
  NEB_XML_FreeNode(device); /* with everything that was appended to it */
  return isDone ? EXIT_SUCCESS : EXIT_FAILURE;
}
