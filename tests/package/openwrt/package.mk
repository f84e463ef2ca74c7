define BuildPackage
$(eval $(Package/$(1)))
all:
	$(Build/Prepare)
	$(call Package/$(1)/install,$(IMAGE))
	@echo 'depends $(DEPENDS)'
	@echo 'conffiles $(strip $(Package/$(1)/conffiles))'
	@echo 'init $(patsubst -DBACKHAUL_INIT=%,%,$(filter -DBACKHAUL_INIT=%,$(CMAKE_OPTIONS)))'
endef
