// An OpenTelemetry Collector with the components that the fleet guide's configuration names.
package main

import (
	"log"

	"github.com/open-telemetry/opentelemetry-collector-contrib/connector/signaltometricsconnector"
	"github.com/open-telemetry/opentelemetry-collector-contrib/exporter/fileexporter"
	"github.com/open-telemetry/opentelemetry-collector-contrib/exporter/prometheusexporter"
	"github.com/open-telemetry/opentelemetry-collector-contrib/extension/bearertokenauthextension"
	"github.com/open-telemetry/opentelemetry-collector-contrib/extension/storage/filestorage"
	"github.com/open-telemetry/opentelemetry-collector-contrib/processor/deltatocumulativeprocessor"
	"go.opentelemetry.io/collector/component"
	"go.opentelemetry.io/collector/confmap"
	"go.opentelemetry.io/collector/confmap/provider/envprovider"
	"go.opentelemetry.io/collector/confmap/provider/fileprovider"
	"go.opentelemetry.io/collector/confmap/provider/yamlprovider"
	"go.opentelemetry.io/collector/connector"
	"go.opentelemetry.io/collector/exporter"
	"go.opentelemetry.io/collector/exporter/otlphttpexporter"
	"go.opentelemetry.io/collector/extension"
	"go.opentelemetry.io/collector/otelcol"
	"go.opentelemetry.io/collector/processor"
	"go.opentelemetry.io/collector/processor/batchprocessor"
	"go.opentelemetry.io/collector/processor/memorylimiterprocessor"
	"go.opentelemetry.io/collector/receiver"
	"go.opentelemetry.io/collector/receiver/otlpreceiver"
	"go.opentelemetry.io/collector/service/telemetry/otelconftelemetry"
)

func components() (otelcol.Factories, error) {
	factories := otelcol.Factories{Telemetry: otelconftelemetry.NewFactory()}
	var err error
	if factories.Extensions, err = otelcol.MakeFactoryMap[extension.Factory](
		bearertokenauthextension.NewFactory(),
		filestorage.NewFactory(),
	); err != nil {
		return factories, err
	}
	if factories.Receivers, err = otelcol.MakeFactoryMap[receiver.Factory](
		otlpreceiver.NewFactory(),
	); err != nil {
		return factories, err
	}
	if factories.Processors, err = otelcol.MakeFactoryMap[processor.Factory](
		memorylimiterprocessor.NewFactory(),
		batchprocessor.NewFactory(),
		deltatocumulativeprocessor.NewFactory(),
	); err != nil {
		return factories, err
	}
	if factories.Connectors, err = otelcol.MakeFactoryMap[connector.Factory](
		signaltometricsconnector.NewFactory(),
	); err != nil {
		return factories, err
	}
	factories.Exporters, err = otelcol.MakeFactoryMap[exporter.Factory](
		fileexporter.NewFactory(),
		otlphttpexporter.NewFactory(),
		prometheusexporter.NewFactory(),
	)
	return factories, err
}

func main() {
	command := otelcol.NewCommand(otelcol.CollectorSettings{
		BuildInfo: component.BuildInfo{Command: "otelcol", Description: "Collector of the fleet guide"},
		Factories: components,
		ConfigProviderSettings: otelcol.ConfigProviderSettings{
			ResolverSettings: confmap.ResolverSettings{
				ProviderFactories: []confmap.ProviderFactory{
					envprovider.NewFactory(),
					fileprovider.NewFactory(),
					yamlprovider.NewFactory(),
				},
			},
		},
	})
	if err := command.Execute(); err != nil {
		log.Fatal(err)
	}
}
