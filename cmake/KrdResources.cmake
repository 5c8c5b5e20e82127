# Resources by type name and number, compiled into a module.
