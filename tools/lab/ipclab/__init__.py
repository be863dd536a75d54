# ipcontrol-lab's code: a private network of virtual TVs in network namespaces on this machine.
